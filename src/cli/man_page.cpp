#include "cli/man_page.h"

#include <cstdio>
#include <set>
#include <string_view>

#include "cli/exit_codes.h"
#include "cli/option_table.h"
#include "cli/option_values.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

struct ExitText {
    ExitCode code;
    const char* means;
};

constexpr ExitText kExitTexts[] = {
    {kExitDone, "done"},
    {kExitFailure, "failure"},
    {kExitUsage, "the command line, or a setup, is wrong"},
    {kExitInput, "the input is missing, unreadable or of an unusable size"},
    {kExitOutputExists, "the output exists, and --overwrite was not given"},
    {kExitSomeFailed, "some frames failed and the run went on"},
    {kExitStopped,
     "stopped on request (SIGTERM, SIGUSR1) after the frame in hand; --resume goes on"},
    {kExitInterrupted, "interrupted (SIGINT)"},
};

constexpr char kDescription[] =
    "Computes the frames of a shot at another speed. Between each two source frames it measures "
    "how every pixel moves and moves the pixels of both along the way. The first word says what "
    "is to be done; each such verb has its own options. Every message is one line on the standard "
    "error stream that names the file, frame or option it is about.";

constexpr char kSetups[] =
    "--setup reads options from a TOML file, and --write-setup writes one with all that is in "
    "effect, defaults too. A key is the name of an option without its dashes. All options belong "
    "there but those under Run and Sheet and above the headings: they say what one run does, and "
    "not how a clip is retimed. What the command line gives takes the place of the file's key, and "
    "a law of time that of any other law. Names of clips are read as on the command line. A file "
    "may serve several verbs: what one of them has no option for is left out. An option that may "
    "be given several times has one value or a list; a flag is true or false; a list of keys is "
    "written as on the command line, or as tables:";

constexpr char kSetupExample[] =
    "quality = \"full\"\n"
    "matte = [\"actor.%04d.tif\", \"car.%04d.tif\"]\n"
    "speed-curve = [\n"
    "    {frame = 0, value = 1, way = \"smooth\"},\n"
    "    {frame = 48, value = 0.25},\n"
    "]\n";

// Text in which nothing means anything to the formatter.
std::string Plain(std::string_view text) {
    std::string plain;
    for (const char letter : text) {
        const bool atStart = plain.empty() || plain.back() == '\n';
        if (atStart && (letter == '.' || letter == '\'')) plain.append("\\&");
        if (letter == '\\') {
            plain.append("\\e");
        } else if (letter == '-') {
            plain.append("\\-");
        } else {
            plain.push_back(letter);
        }
    }
    return plain;
}

std::string InBold(std::string_view text) {
    return "\\fB" + Plain(text) + "\\fR";
}

void AppendSection(std::string& page, std::string_view title) {
    page.append(".SH \"").append(Plain(title)).append("\"\n");
}

void AppendParagraph(std::string& page, std::string_view text) {
    page.append(".PP\n").append(Plain(text));
    if (!text.ends_with('\n')) page.append("\n");
}

void AppendTerm(std::string& page, const std::string& term, std::string_view text) {
    page.append(".TP\n").append(term).append("\n").append(Plain(text)).append("\n");
}

void AppendExample(std::string& page, std::string_view text) {
    page.append(".PP\n.nf\n").append(Plain(text)).append(".fi\n");
}

void AppendOption(std::string& page, const OptionEntry& option) {
    std::string term = option.letter.empty() ? "" : InBold(option.letter) + ", ";
    term.append(InBold(option.name));
    if (!option.IsFlag()) term.append(" \\fI").append(Plain(option.value)).append("\\fR");
    AppendTerm(page, term, DescriptionOf(option));
}

std::string CallOf(const VerbText& verb) {
    return verb.form.empty() ? std::string(verb.word)
                             : std::string(verb.word) + " " + std::string(verb.form);
}

// Options that an earlier verb of the page has are named only.
void AppendVerb(std::string& page, const VerbText& verb, std::set<const OptionEntry*>& told) {
    AppendSection(page, "VELORIN " + std::string(verb.word));
    AppendParagraph(page, "velorin " + CallOf(verb));
    AppendParagraph(page, verb.about);
    AppendExample(page, verb.examples);
    std::string known;
    std::string_view group;
    for (const OptionEntry* option : OptionsOf(verb.verb)) {
        if (!told.insert(option).second) {
            known.append(known.empty() ? "" : ", ").append(option->name);
            continue;
        }
        if (option->group != group) {
            group = option->group;
            page.append(".SS \"").append(Plain(group)).append("\"\n");
        }
        AppendOption(page, *option);
    }
    if (!known.empty()) AppendParagraph(page, "As above: " + known + ".");
}

void AppendSynopsis(std::string& page) {
    AppendSection(page, "SYNOPSIS");
    for (const VerbText& verb : VerbTexts()) {
        page.append(".br\n").append(InBold("velorin")).append(" " + Plain(CallOf(verb)));
        page.append(OptionsOf(verb.verb).empty() ? "\n" : " [options]\n");
    }
    page.append(".br\n").append(InBold("velorin")).append(" " + Plain("[--help | --version]\n"));
}

}  // namespace

std::string ManPage() {
    std::string page = ".TH VELORIN 1 \"\" \"velorin " VELORIN_VERSION "\" \"User Commands\"\n";
    // Left-justified and without hyphens, which would break the names of options.
    page.append(".ad l\n.nh\n");
    AppendSection(page, "NAME");
    page.append(Plain("velorin - compute the frames of a shot at another speed")).append("\n");
    AppendSynopsis(page);
    AppendSection(page, "DESCRIPTION");
    AppendParagraph(page, kDescription);
    std::set<const OptionEntry*> told;
    for (const VerbText& verb : VerbTexts()) AppendVerb(page, verb, told);
    AppendSection(page, "SETUP FILES");
    AppendParagraph(page, kSetups);
    AppendExample(page, kSetupExample);
    AppendSection(page, "EXIT STATUS");
    for (const ExitText& text : kExitTexts) {
        AppendTerm(page, InBold(std::to_string(text.code)), text.means);
    }
    AppendSection(page, "ENVIRONMENT");
    AppendTerm(page, InBold("NO_COLOR"), "when it is set, nothing is in colour or bold");
    AppendTerm(page, InBold("TERM"),
               "when it is dumb or not set, neither, and there is no bar of progress");
    return page;
}

int Man(const Options&) {
    std::fputs(ManPage().c_str(), stdout);
    return kExitDone;
}

}  // namespace velorin
