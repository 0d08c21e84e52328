#include "cli/layer_options.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

std::optional<Options> Parse(std::vector<const char*> words) {
    words.insert(words.begin(), {"in", "-o", "out.mkv"});
    return ParseOptions(kVerbRetime, static_cast<int>(words.size()), words.data());
}

TEST(LayerOptions, GiveEachMatteItsOwnOrOneToAll) {
    const Options two =
        Parse({"--matte", "a", "--matte-shrink", "1.5", "--fg-sensitivity=10", "--matte", "b",
               "--fg-sensitivity=20", "--matte-channel", "blue", "--matte-levels=-0.5,1"})
            .value();
    EXPECT_EQ(two.mattes, std::vector<std::string>({"a", "b"}));
    EXPECT_EQ(two.matteShrinks, std::vector<float>({1.5f, 1.5f}));
    EXPECT_EQ(two.fgSensitivities, std::vector<float>({10.0f, 20.0f}));
    EXPECT_EQ(two.matteChannel, 2);
    EXPECT_EQ(two.matteLevels.at(1)->black, -0.5f);
    const Options one = Parse({"--matte", "a"}).value();
    EXPECT_EQ(one.fgSensitivities, std::vector<float>({70.0f}));
    EXPECT_FALSE(one.matteLevels.at(0));
}

TEST(LayerOptions, RefuseWhatDoesNotGoTogether) {
    using Words = std::vector<const char*>;
    const std::pair<Words, std::string> cases[] = {
        {Words(10, "--matte=m"), "--matte is given 10 times; 9 are the most"},
        {{"--matte=a", "--matte=b", "--matte=c", "--matte-shrink=1", "--matte-shrink=2"},
         "--matte-shrink is given 2 times for 3 mattes"},
        {{"--matte-shrink", "1.5"}, "--matte-shrink needs --matte"},
        {{"--fg-sensitivity", "1"}, "--fg-sensitivity needs --matte"},
        {{"--matte-levels", "0,1"}, "--matte-levels needs --matte"},
        {{"--matte-channel", "red"}, "--matte-channel needs --matte"},
        {{"--view", "background"}, "--view background needs --matte"},
        {{"--view", "flow", "--quality", "none"}, "--view flow needs motion"},
        {{"--flow-scale", "5"}, "--flow-scale needs --view flow"},
        {{"--view", "flow", "--flow-scale", "0"}, "--flow-scale 0: give a length above 0"},
        {{"--matte", "a", "--matte-shrink", "4.01"}, "--matte-shrink 4.01: give a number from 0"},
        {{"--matte", "a", "--matte-levels", "9,9"}, "--matte-levels 9,9: give BLACK,WHITE"},
        {{"--matte", "a", "--matte-levels", "9"}, "--matte-levels 9: give BLACK,WHITE"},
        {{"--motion-from", "a", "--motion-from", "b"}, "--motion-from is given twice"}};
    for (const auto& [words, text] : cases) {
        try {
            Parse(words);
            ADD_FAILURE() << "accepted, not: " << text;
        } catch (const UsageError& failure) {
            EXPECT_EQ(std::string(failure.what()).substr(0, text.size()), text);
        }
    }
}

}  // namespace
}  // namespace velorin
