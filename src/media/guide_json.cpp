#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "media/guide_formats.h"

namespace velorin {
namespace {

using nlohmann::json;

// Points in lists of tracks are five deep.
constexpr int kMostDepth = 16;
constexpr std::string_view kPointForms = "[12,640,360.5] or {\"frame\":12,\"x\":640,\"y\":360.5}";

std::string Entry(const std::string& path, std::size_t index) {
    return path + "[" + std::to_string(index) + "]";
}

std::string Member(const std::string& path, const std::string& key) {
    return path.empty() ? key : path + "." + key;
}

// The bracket or brace of `text` that is the first to stand so deep; what comes before it is JSON.
const char* PlaceOfDepth(std::string_view text, int depth) {
    bool quoted = false;
    for (const char* at = text.data(); at != text.data() + text.size(); ++at) {
        if (*at == '"') quoted = !quoted;
        if (quoted && *at == '\\') ++at;
        if (quoted) continue;
        if (*at == '[' || *at == '{') --depth;
        if (*at == ']' || *at == '}') ++depth;
        if (depth == 0) return at;
    }
    return text.data();
}

// Goes over a file before it is read: the library's own errors tell no lines, of two members of one
// name it silently keeps the last, and what is nested without end it takes.
class JsonCheck final : public json::json_sax_t {
  public:
    explicit JsonCheck(const GuideSource& newSource) : source(newSource) {}

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(std::int64_t) override { return true; }
    bool number_unsigned(std::uint64_t) override { return true; }
    bool number_float(double, const std::string&) override { return true; }
    bool string(std::string&) override { return true; }
    bool binary(json::binary_t&) override { return true; }

    bool start_array(std::size_t) override {
        Enter();
        return true;
    }
    bool end_array() override {
        --depth;
        return true;
    }
    bool start_object(std::size_t) override {
        Enter();
        open.emplace_back();
        return true;
    }
    bool end_object() override {
        --depth;
        open.pop_back();
        return true;
    }
    bool key(std::string& name) override {
        open.back().last = name;
        if (open.back().names.insert(name).second) return true;
        std::string path;
        for (const Object& object : open) path = Member(path, object.last);
        ThrowGuideError(source, Quoted(path) +
                                    " stands there twice; each name in a pair of braces, "
                                    "a track's or a frame's, stands there once");
    }

    // `byte` counts from 1; a file that is cut off is wrong one byte behind its end.
    bool parse_error(std::size_t byte, const std::string& word,
                     const json::exception& error) override {
        const GuideLine line = LineAt(source.text.data() + byte - 1);
        if (dynamic_cast<const json::out_of_range*>(&error) != nullptr) {
            ThrowGuideError(source, line, Quoted(word) + " is too large a number");
        }
        ThrowGuideError(source, line,
                        byte > source.text.size()
                            ? "the JSON ends too early; a bracket or a brace is not closed"
                            : "is no JSON; perhaps a comma, a bracket or a quotation mark is "
                              "missing or one too many");
    }

  private:
    struct Object {
        std::unordered_set<std::string> names;
        std::string last;
    };

    void Enter() {
        if (++depth <= kMostDepth) return;
        ThrowGuideError(source, LineAt(PlaceOfDepth(source.text, depth)),
                        "brackets and braces are nested deeper than " + std::to_string(kMostDepth) +
                            " levels; tracks take five at most");
    }

    GuideLine LineAt(const char* place) const {
        const std::vector<GuideLine> lines = LinesOf(source.text);
        const auto found = std::find_if(lines.begin(), lines.end(), [&](const GuideLine& line) {
            return place <= line.text.data() + line.text.size();
        });
        return found == lines.end() ? lines.back() : *found;
    }

    const GuideSource& source;
    std::vector<Object> open;
    int depth = 0;
};

class JsonReader {
  public:
    explicit JsonReader(const GuideSource& newSource) : source(newSource) {}

    std::vector<GuideTrack> Read(const json& root) {
        if (root.is_array()) {
            ReadList(root, "");
            return std::move(tracks);
        }
        for (const char* key : {"tracks", "trackers", "points"}) {
            const auto list = root.find(key);
            if (list == root.end() || !IsListOfObjects(*list)) continue;
            ReadList(*list, key);
            return std::move(tracks);
        }
        for (const auto& [name, points] : root.items()) {
            if (!points.is_structured()) {
                Throw(name, points,
                      "a list of points, as each name here is a track's; what else a file tells "
                      "may stand beside \"tracks\" alone");
            }
            ReadTrack(name, points, name);
        }
        return std::move(tracks);
    }

  private:
    [[noreturn]] void Throw(const std::string& path, const json& value, std::string_view wanted) {
        ThrowGuideError(source,
                        path + ", " + Quoted(value.dump()) + ": wanted is " + std::string(wanted));
    }

    // Rather than a track of the name "points".
    static bool IsListOfObjects(const json& value) {
        if (!value.is_array()) return false;
        return value.empty() || (value.front().is_object() && (value.front().contains("points") ||
                                                               value.front().contains("name")));
    }

    // Tracks with points of their own, or points each with its track's name.
    void ReadList(const json& list, const std::string& path) {
        std::unordered_map<std::string, std::size_t> indices;
        std::vector<std::string> names;
        std::vector<std::vector<FoundPosition>> found;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string here = Entry(path, i);
            const json& entry = list[i];
            if (entry.is_object() && entry.contains("points")) {
                ReadTrack(NameOf(entry, here, here), entry["points"], Member(here, "points"));
                continue;
            }
            const std::string name = NameOf(entry, here, NameAfterFile(source));
            const auto [index, isNew] = indices.try_emplace(name, names.size());
            if (isNew) {
                names.push_back(name);
                found.emplace_back();
            }
            found[index->second].push_back({PositionIn(entry, here), i});
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            tracks.push_back(MakeTrack(source, std::move(names[i]), std::move(found[i]),
                                       [&](std::size_t place) { return Entry(path, place); }));
        }
    }

    std::string NameOf(const json& entry, const std::string& path, const std::string& otherwise) {
        if (!entry.is_object() || !entry.contains("name")) return otherwise;
        const json& name = entry["name"];
        if (name.is_string()) return name.get<std::string>();
        if (name.is_number()) return name.dump();
        Throw(Member(path, "name"), name, "a name in quotation marks");
    }

    // The points as a list, or by their frames as in {"12":[640,360.5]}.
    void ReadTrack(const std::string& name, const json& points, const std::string& path) {
        std::vector<FoundPosition> found;
        const auto describe = [&](std::size_t place) {
            if (points.is_array()) return Entry(path, place);
            return Member(path,
                          std::next(points.begin(), static_cast<std::ptrdiff_t>(place)).key());
        };
        if (points.is_array()) {
            for (std::size_t i = 0; i < points.size(); ++i) {
                found.push_back({PositionIn(points[i], Entry(path, i)), i});
            }
        } else if (points.is_object()) {
            for (const auto& [frame, point] : points.items()) {
                found.push_back({PositionAt(frame, point, Member(path, frame)), found.size()});
            }
        } else {
            Throw(path, points, "a list of points such as " + std::string(kPointForms));
        }
        tracks.push_back(MakeTrack(source, name, std::move(found), describe));
    }

    GuidePosition PositionIn(const json& point, const std::string& path) {
        const bool isArray = point.is_array() && point.size() >= 3;
        if (!isArray && !point.is_object()) {
            Throw(path, point, "a point such as " + std::string(kPointForms));
        }
        const json& frame = isArray ? point[0] : MemberOf(point, "frame", path);
        const auto number = frame.is_number() ? WholeNumberOf(frame.get<double>()) : std::nullopt;
        if (!number) Throw(path, point, "a whole number for the frame");
        return WithPlace(*number, point, 1, path);
    }

    GuidePosition PositionAt(const std::string& frame, const json& point, const std::string& path) {
        const auto number = WholeNumberOf(std::string_view(frame));
        if (!number) Throw(path, point, "a whole number as the name, for the frame");
        if (!point.is_object() && !(point.is_array() && point.size() >= 2)) {
            Throw(path, point, "a point such as [640,360.5] or {\"x\":640,\"y\":360.5}");
        }
        return WithPlace(*number, point, 0, path);
    }

    // In a list x stands at `index`, and y behind it.
    GuidePosition WithPlace(std::int64_t frame, const json& point, std::size_t index,
                            const std::string& path) {
        const json& x = point.is_array() ? point[index] : MemberOf(point, "x", path);
        const json& y = point.is_array() ? point[index + 1] : MemberOf(point, "y", path);
        if (!x.is_number() || !y.is_number()) Throw(path, point, "a number for x and for y");
        return {frame, x.get<double>(), y.get<double>()};
    }

    const json& MemberOf(const json& point, const char* key, const std::string& path) {
        const auto member = point.find(key);
        if (member != point.end()) return *member;
        Throw(path, point, Quoted(key) + ", as of a point such as " + std::string(kPointForms));
    }

    const GuideSource& source;
    std::vector<GuideTrack> tracks;
};

}  // namespace

GuideFile ReadGuideJson(const GuideSource& source) {
    JsonCheck check(source);
    json::sax_parse(source.text, &check);
    return {JsonReader(source).Read(json::parse(source.text))};
}

}  // namespace velorin
