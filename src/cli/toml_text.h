#pragma once

#include <toml++/toml.h>

#include <string>
#include <string_view>

namespace velorin {

// What messages are about: a line of a file and, once it is known for one, the key there.
struct TomlPlace {
    std::string_view file;
    toml::source_index line;
    std::string_view key = {};

    TomlPlace At(const toml::node& node) const { return {file, node.source().begin.line, key}; }
    std::string Text() const;
    // Throws UsageError.
    [[noreturn]] void Refuse(const std::string& why) const;
};

// Throws UsageError with the line that is wrong.
toml::table ParseToml(const std::string& text, const std::string& file);

}  // namespace velorin
