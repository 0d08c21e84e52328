#include "cli/fields.h"

#include "cli/pipes.h"
#include "media/still_format.h"

namespace velorin {

namespace {

// The engine's number for what a clip says of itself.
int FieldsOf(FieldOrder order) {
    if (order == FieldOrder::kUpperFirst) return 1;
    return order == FieldOrder::kLowerFirst ? 2 : 0;
}

std::string WordOf(int fields) {
    return std::string(ChoiceWord("--output-fields", fields));
}

void NoteInput(const Options& options, const ClipInfo& source, ProgressLine& progress) {
    const int told = FieldsOf(source.fieldOrder);
    if (told == 0) return;
    if (!options.inputFields) {
        progress.Note(source.name + ": is interlaced, " + WordOf(told) +
                      " field first, and taken as progressive; --input-fields auto would follow "
                      "it, and --input-fields none would end this note");
    } else if (InputFieldsOf(options, source) == 3 - told) {
        progress.Note("--input-fields " + WordOf(3 - told) + ": followed, though " + source.name +
                      " says that the " + WordOf(told) + " field comes first");
    }
}

}  // namespace

int InputFieldsOf(const Options& options, const ClipInfo& source) {
    const int asked = options.inputFields.value_or(0);
    return asked == kFieldsOfClip ? FieldsOf(source.fieldOrder) : asked;
}

FieldOrder OrderOfFields(int fields) {
    if (fields == 0) return FieldOrder::kUnknown;
    return fields == 1 ? FieldOrder::kUpperFirst : FieldOrder::kLowerFirst;
}

void NoteFields(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (options.view == View::kMatte) return;  // mattes are shown as they stand
    NoteInput(options, plan.source, progress);
    const bool isSequence = FindStillFormat(options.output) != nullptr;  // has no marks at all
    if (plan.request.outputFields == 0 || isSequence || WritesPipe(options)) return;
    if (!CanMarkFields(options.output, plan.source.height)) {
        progress.Note("--output-fields " + WordOf(plan.request.outputFields) + ": " +
                      options.output + " holds the fields but cannot be marked as interlaced");
    }
}

std::string FieldsText(const Options& options, const RunPlan& plan) {
    const bool asks = options.inputFields == kFieldsOfClip && options.view != View::kMatte;
    if (!asks && plan.request.inputFields == 0 && plan.request.outputFields == 0) return "";
    const int told = FieldsOf(plan.source.fieldOrder);
    const std::string silent = plan.source.fieldOrder == FieldOrder::kProgressive
                                   ? " (it is progressive)"
                                   : " (it says nothing)";
    return "\nfields: input " + WordOf(plan.request.inputFields) +
           (!asks       ? ""
            : told != 0 ? " (as it says)"
                        : silent) +
           ", output " + WordOf(plan.request.outputFields);
}

}  // namespace velorin
