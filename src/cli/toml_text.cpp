#include "cli/toml_text.h"

#include "cli/options.h"

namespace velorin {

std::string TomlPlace::Text() const {
    return std::string(file) + ", line " + std::to_string(line);
}

void TomlPlace::Refuse(const std::string& why) const {
    throw UsageError(Text() + ": " + (key.empty() ? "" : std::string(key) + ": ") + why);
}

toml::table ParseToml(const std::string& text, const std::string& file) {
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error& failure) {
        TomlPlace{file, failure.source().begin.line}.Refuse(std::string(failure.description()));
    }
}

}  // namespace velorin
