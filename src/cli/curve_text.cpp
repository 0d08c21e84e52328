#include "cli/curve_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>
#include <vector>

#include "cli/key_list.h"
#include "media/guide_source.h"
#include "media/text_file.h"

namespace velorin {

namespace {

constexpr int kGreatestSpeed = 10;
constexpr double kGreatestValue = 1e9;
constexpr int kMostDecimals = 9;

KeyWay WayOf(std::string_view value) {
    if (value.ends_with('~')) return KeyWay::kSmooth;
    return value.ends_with('|') ? KeyWay::kHold : KeyWay::kLinear;
}

std::string_view WithoutWay(std::string_view value) {
    return WayOf(value) == KeyWay::kLinear ? value : value.substr(0, value.size() - 1);
}

Decimal ReadValue(const KeyText& key, CurveKind kind) {
    const std::optional<Decimal> value = ParseDecimal(WithoutWay(key.value));
    const std::string form = "with at most 9 digits after the point and without an exponent";
    if (kind == CurveKind::kSourceFrame) {
        if (value) return *value;
        throw KeyError(key.whole,
                       "give a source frame such as 12 or 12.5 behind the output frame, "
                       "below 1000000000 in amount, " +
                           form);
    }
    const bool inside =
        value && value->numerator >= 0 && value->numerator <= kGreatestSpeed * value->denominator;
    if (inside) return *value;
    throw KeyError(key.whole, "give a speed from 0 to 10 behind the output frame, " + form);
}

// A number as programs write it into files, in the form of a decimal; what is none stays as it is.
std::string DecimalForm(std::string_view text) {
    const std::optional<double> number = NumberOf(text);
    const bool plain = ParseDecimal(text).has_value();
    if (plain || !number || !(std::abs(*number) < kGreatestValue)) return std::string(text);
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, *number,
                                   std::chars_format::fixed, kMostDecimals);
    return std::string(digits, end.ptr);
}

// One key of a file, with columns in the form that keys have on the command line.
class FileKey {
  public:
    explicit FileKey(const std::vector<std::string>& columns)
        : frame(columns[0]), value(columns[1]) {
        if (const auto number = WholeNumberOf(frame)) frame = std::to_string(*number);
        const std::string_view plain = WithoutWay(columns[1]);
        value = DecimalForm(plain) + columns[1].substr(plain.size());
        whole = columns[0] + " " + columns[1];
    }
    KeyText Text() const { return {whole, frame, value}; }

  private:
    std::string frame;
    std::string value;
    std::string whole;
};

bool AreTitles(const std::vector<std::string>& columns) {
    return std::none_of(columns.begin(), columns.end(), [](const std::string& column) {
        return NumberOf(WithoutWay(column)).has_value();
    });
}

}  // namespace

Curve ParseCurve(std::string_view text, CurveKind kind) {
    std::vector<CurveKey> keys;
    KeyFrames frames;
    for (const KeyText& key :
         SplitKeys(text,
                   "give keys such as 0:1,24:0.5~,48:1: output frame, colon, value, and ~ for a "
                   "smooth way on to the next key or | to hold until there")) {
        const std::int64_t frame = frames.Read(key);
        keys.push_back({frame, ReadValue(key, kind), WayOf(key.value)});
    }
    return Curve(std::move(keys));
}

Curve ParseCurveFile(std::string_view text, const std::string& name) {
    const GuideSource source{name, WithoutByteOrderMark(text)};
    std::vector<CurveKey> keys;
    KeyFrames frames;
    bool isTop = true;
    for (const GuideLine& line : ContentOf(LinesOf(source.text))) {
        const std::vector<std::string> columns = ColumnsOf(source, line);
        if (std::exchange(isTop, false) && AreTitles(columns)) continue;
        if (columns.size() != 2) {
            ThrowGuideError(source, line,
                            "two columns are wanted, output frame and source frame, both counted "
                            "from 0, as in \"48 12.5\"");
        }
        const FileKey key(columns);
        try {
            const std::int64_t frame = frames.Read(key.Text());
            keys.push_back(
                {frame, ReadValue(key.Text(), CurveKind::kSourceFrame), WayOf(key.Text().value)});
        } catch (const KeyError& error) {
            ThrowGuideError(source, line, error.what());
        }
    }
    if (!keys.empty()) return Curve(std::move(keys));
    ThrowGuideError(source,
                    "holds no curve; lines with an output frame and a source frame are "
                    "wanted, as in \"48 12.5\"");
}

Curve ReadCurveFile(const std::string& name) {
    return ParseCurveFile(ReadTextFile(name, "a curve"), name);
}

}  // namespace velorin
