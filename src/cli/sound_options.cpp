#include "cli/sound_options.h"

#include <cmath>
#include <utility>

#include "cli/pipes.h"
#include "cli/sound_law.h"
#include "media/clip.h"
#include "media/movie_format.h"
#include "media/retimed_sound.h"
#include "media/sound_reader.h"

namespace velorin {

namespace {

// Counts up whenever sound comes out otherwise than before.
constexpr int kSoundRules = 2;

bool KeepsSound(const Options& options, const RunPlan& plan) {
    return plan.source.sound && IsMovieName(options.output) && options.audio != kAudioDrop;
}

// Of a constant speed: seconds of the source in a second of the output, whose rate may be another.
double TempoOf(const RunPlan& plan) {
    const double speed = Quotient(*plan.lawFacts.speed);
    if (plan.source.rate.numerator <= 0 || plan.lawFacts.rate.numerator <= 0) return speed;
    return speed * Quotient(plan.lawFacts.rate) / Quotient(plan.source.rate);
}

// Speeds at which pitch and speed are two things.
bool Stretches(const Options& options, const RunPlan& plan) {
    constexpr double kSame = 1e-12;  // of ratios in double precision
    if (options.audio != kAudioStretch) return false;
    const double tempo = TempoOf(plan);
    return tempo != 0.0 && std::abs(tempo - 1.0) > kSame;
}

void CheckStretch(const RunPlan& plan) {
    const double speed = TempoOf(plan);
    if (speed < kSlowestStretch || speed > kFastestStretch) {
        throw UsageError(
            "--audio stretch: the pitch is kept at speeds from 0.01 to 10, and this is " +
            plan.lawFacts.text + "; give --audio pitch or --audio drop");
    }
    const std::int64_t span = plan.frames.back() - plan.frames.front() + 1;
    if (span != static_cast<std::int64_t>(plan.frames.size())) {
        throw UsageError(
            "--audio stretch: needs frames without gaps; give one range to --frames, or --audio "
            "pitch, or --audio drop");
    }
}

}  // namespace

void SetAudio(Options& options, const Argument& argument) {
    options.audio = argument.AsChoice();
}

void CompleteSoundOptions(const Options& options) {
    if (options.audio != kAudioStretch) return;
    if (!options.speedCurve && !options.frameCurve && options.curveFile.empty()) return;
    throw UsageError("--audio stretch: keeps the pitch at constant speeds only; " +
                     LawOption(options) + " goes with --audio pitch or --audio drop");
}

std::shared_ptr<SoundSource> MakeSound(const Options& options, const RunPlan& plan) {
    if (!KeepsSound(options, plan)) return nullptr;
    const ClipInfo& source = plan.source;
    auto reader = std::make_unique<SoundReader>(source.name, *source.sound, source.firstPicture);
    const double seconds = LengthInSeconds(source);
    const int rate = SoundRateFor(options.output, source.sound->rate);
    // Views of motion and mattes have laws of their own, which snap to frames.
    SoundLaw law(plan, ChooseLaw(options, source).law);
    if (Stretches(options, plan)) {
        CheckStretch(plan);
        return StretchedSound(std::move(reader), TempoOf(plan), law.StretchOf(0).from, seconds,
                              rate);
    }
    const Rational frameRate =
        plan.lawFacts.rate.numerator > 0 ? plan.lawFacts.rate : Rational{24, 1};
    return PitchedSound(
        std::move(reader), [law](std::int64_t half) { return law.StretchOf(half); }, frameRate,
        seconds, rate);
}

void NoteSound(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    const bool asked = options.audio && *options.audio != kAudioDrop;
    if (asked && !IsMovieName(options.output)) {
        progress.Note("--audio: " + options.output +
                      (WritesPipe(options) ? " holds pictures alone; name a movie"
                                           : " is a sequence, which holds no sound"));
    } else if (asked && !plan.source.sound) {
        progress.Note("--audio: " + plan.source.name + " has no sound");
    }
    if (!KeepsSound(options, plan) || plan.source.sound->leftOut == 0) return;
    const int others = plan.source.sound->leftOut;
    progress.Note(plan.source.name + ": " + std::to_string(others) +
                  (others == 1 ? " further sound stream is" : " further sound streams are") +
                  " left out; stream " + std::to_string(plan.source.sound->stream) + " is retimed");
}

void NoteDamagedSound(const SoundSource* sound, const RunPlan& plan, ProgressLine& progress) {
    if (sound == nullptr || !sound->IsDamaged()) return;
    progress.Note(plan.source.name + ": its sound is damaged; what cannot be decoded is silent");
}

std::string SoundName(const SoundInfo& sound) {
    std::string text = sound.codec + ", " + std::to_string(sound.rate) + " Hz, " + sound.layout;
    if (sound.isFloat) text += ", float";
    if (sound.bits > 0) text += ", " + std::to_string(sound.bits) + " bits";
    if (!sound.language.empty()) text += ", " + sound.language;
    return text;
}

std::string SoundText(const Options& options, const RunPlan& plan) {
    if (!plan.source.sound) return "";
    const std::string text = "\nsound: " + SoundName(*plan.source.sound);
    if (!KeepsSound(options, plan)) return text + "; left out";
    const int rate = SoundRateFor(options.output, plan.source.sound->rate);
    const std::string become =
        rate == plan.source.sound->rate ? "" : "; becomes " + std::to_string(rate) + " Hz";
    if (Stretches(options, plan)) return text + "; retimed, its pitch kept" + become;
    return text + "; retimed with the pictures" + become;
}

std::string SoundKey(const Options& options, const RunPlan& plan) {
    if (!KeepsSound(options, plan)) return "";
    return "sound " + std::to_string(kSoundRules) +
           (Stretches(options, plan) ? " stretch" : " pitch");
}

}  // namespace velorin
