#include "media/guide_file.h"

#include <fstream>
#include <sstream>

#include "media/clips.h"

namespace velorin {
namespace {

class GuideFileTest : public testing::Test {
  protected:
    std::string Write(const std::string& content) const {
        std::ofstream(folder / "shot.txt", std::ios::binary) << content;
        return folder / "shot.txt";
    }
    // "name:frame,x,y frame,x,y" for each track.
    std::vector<std::string> TracksOf(const std::string& content) const {
        std::vector<std::string> texts;
        for (const GuideTrack& track : ReadGuideFile(Write(content)).tracks) {
            std::ostringstream text;
            text << track.name << ':';
            for (const GuidePosition& position : track.positions) {
                text << (&position == track.positions.data() ? "" : " ") << position.frame << ','
                     << position.x << ',' << position.y;
            }
            texts.push_back(text.str());
        }
        return texts;
    }
    TemporaryFolder folder;
};

using Texts = std::vector<std::string>;

struct GoodCase {
    const char* content;
    Texts tracks;
};

// A position, values that are none, another position, and one that is not animated.
constexpr const char* kKeyframes =
    "Keyframe Data\r\n\r\n"
    "\tUnits Per Second\t25\r\n\tSource Width\t640\r\n\tSource Height\t360\r\n\r\n"
    "Effects\tMarker #1\tCentre\r\n\tFrame\tX pixels\tY pixels\t\r\n"
    "\t3\t1\t2\t\r\n\t4\t5\t6\t\r\n\r\n"
    "Transform\tScale\r\n\tFrame\tX percent\tY percent\r\n\t3\t100\t100\r\n\r\n"
    "Position\r\n\tFrame\tX pixels\tY pixels\tZ pixels\r\n\t7\t8\t9\t0\r\n"
    "Anchor Point\r\n\tFrame\tX pixels\tY pixels\r\n\t\t320\t180\r\n\r\n"
    "End of Keyframe Data\r\n";

TEST_F(GuideFileTest, ReadsEveryForm) {
    const Texts two = {"a:0,10,20 1,11.5,-20", "b:5,1,2"};
    const Texts one = {"shot:3,1,2 4,5,6"};
    const std::vector<GoodCase> cases = {
        // Tables.
        {"# tracked\n\na 0 10 20\n  b\t5 1 2 # end\na 1 11.5 -2e1\n", two},
        {"\xef\xbb\xbfname,frame,x,y\r\n\"a\", 1, 11.5, -20\r\nb,5.0,+1,2\r\na,0,10,20", two},
        {"Y,residual,Frame,X,Name\n20,.1,0,10,a\n-20,,1,11.5,a\n2,.1,5,1,b\n", two},
        {"a 0 10 20 0.25 7\nb 5 1 2\na 1 11.5 -20 0.5", two},
        {"3 1 2\r4 5 6\r", one},
        {"frame,x,y,error\n3,1,2,0.5\n4,5,6,0.7\n", one},
        {"\"left \"\"eye\"\", #2\" 0 1 2", {"left \"eye\", #2:0,1,2"}},
        {"left eye\t0\t1\t2\n", {"left eye:0,1,2"}},
        {"left eye,0,1,2\n", {"left eye:0,1,2"}},
        {"7 0 1 2\n7 1 3 4\n", {"7:0,1,2 1,3,4"}},
        // Blocks.
        {"2\na\n0\n2\n1 11.5 -20\n0 10 20\nb\n-1\n1\n5 1 2 0.5\n", two},
        {"# made by hand\n\"a\"\n1\n2\n0 10 20\n1 11.5 -20\n\"b\"\n1\n1\n5,1,2\n", two},
        {"3\nleft eye\n0\n1\n0 1 2\n2\n0\n0\n#4 is a comment\n5\n0\n1\n1 3 4\n",
         {"left eye:0,1,2", "5:1,3,4"}},
        {"12\n0\n1\n3 4 5\n", {"12:3,4,5"}},
        {kKeyframes, {"Effects/Marker #1/Centre:3,1,2 4,5,6", "Position:7,8,9"}},
        // JSON.
        {R"({"fps":25,"tracks":[{"name":"a","points":[[1,11.5,-20],[0,10,20,0.5]]},
             {"name":"b","points":[{"frame":5.0,"x":1,"y":2}]}]})",
         two},
        {R"({"trackers":[{"points":[[5,1,2]]},{"name":7,"points":{"3":[4,5]}}]})",
         {"trackers[0]:5,1,2", "7:3,4,5"}},
        {R"( [{"name":"a","frame":0,"x":10,"y":20},{"name":"b","frame":5,"x":1,"y":2},
             {"name":"a","frame":1,"x":11.5,"y":-20}])",
         two},
        {R"({"a":{"1":[11.5,-20],"0":{"x":10,"y":20}},"b":[[5,1,2]],"c":[]})", two},
        {R"([{"frame":4,"x":5,"y":6},{"frame":3,"x":1,"y":2}])", one},
        {R"({"points":[[3,4,5]]})", {"points:3,4,5"}},
    };
    for (const GoodCase& good : cases)
        EXPECT_EQ(TracksOf(good.content), good.tracks) << good.content;
    const GuideFile file = ReadGuideFile(Write(kKeyframes));
    EXPECT_EQ(file.width, 640);
    EXPECT_EQ(file.height, 360);
}

struct BadCase {
    std::string content;
    std::vector<std::string> parts;  // of the message
};

TEST_F(GuideFileTest, NamesTheLineAndWhatIsWanted) {
    const std::vector<BadCase> cases = {
        {"", {"holds no points", "name frame x y"}},
        {"# nothing\n\r\n", {"holds no points"}},
        {"name,frame,x,y\n", {"holds no points"}},
        {"1\na\n0\n0\n", {"holds no points"}},
        {"{}", {"holds no points"}},
        {"\n# a\na 0 1 2\r\na 1 x 2\r\n", {"line 4, \"a 1 x 2\"", "\"x\" is no coordinate"}},
        {"a 0 1 2\na 1 nan 2", {"line 2", "\"nan\" is no coordinate"}},
        {"a 0 1 2\na 1 2 1e999", {"line 2", "\"1e999\" is no coordinate"}},
        {"a 0 1 2\na 1.5 1 2", {"line 2", "\"1.5\" is no frame; a whole number"}},
        {"a 0 1 2\na 1 2\n", {"line 2", "a name, a frame, x and y are wanted"}},
        {"0 1 2\n1 1 2 3\n", {"line 2", "a frame, x and y are wanted"}},
        {"0 10.5 2 0.1\n", {"line 1", "frame,x,y,error"}},
        {"a 0 1 2 good\n", {"line 1", "\"good\" is one column too many"}},
        {"a,0,,2\n", {"line 1", "x is missing; a name, a frame, x and y are wanted"}},
        {"a 0\n", {"line 1", "x and y are missing; a name"}},
        {"y,frame,x\n1,2,3\n1,2", {"line 3", "x is missing; each line has the columns of the t"}},
        {"name,frame,x\na,0,1\n", {"line 1", "these titles lack y; frame, x and y"}},
        {"Frame,pos x,pos y\n0,1,2\n", {"line 1", "these titles lack x and y"}},
        {"left eye 0 1 2\n", {"\"eye\" is no frame; a name with blanks stands in double quotes"}},
        {"name frame x y\nmy left eye 0 1 2\n", {"line 2", "a name with blanks stands in"}},
        {"a;0;1;2\n", {"line 1, \"a;0;1;2\"", "not by semicolons"}},
        {"a;0;1,5;2,5\n", {"not by semicolons", "have a point"}},
        {"0\t1,5\t2,5\n", {"line 1", "a comma separates columns; numbers have a point"}},
        {"1\na\n0\n1\n0 1,5 2,5\n", {"line 5", "numbers have a point"}},
        {"\xff\xfe"
         "a",
         {"is text in UTF-16; save it as UTF-8"}},
        {"null", {"line 1, \"null\"", "are missing; a name, a frame, x and y are wanted"}},
        {",0,1,2\n", {"line 1", "a name, a frame, x and y are wanted"}},
        {"\"a 0 1 2\n", {"line 1", "a quotation mark is missing"}},
        {"a 0 1,5 2,5\n", {"line 1, \"a 0 1,5 2,5\"", "numbers have a point"}},
        {"a 0 1 2\nb 0 1 2\na 0 3 4\n", {"line 3: track \"a\"", "frame 0 already, at line 1"}},
        {"1\na\n0\n2\n0 1 2\n", {"ends after line 5 where position 2 of 2 of track \"a\""}},
        {"1\na\n0\n2\n0 1 2\nb\n", {"line 6, \"b\"", "position 2 of 2"}},
        {"2\na\n0\n1\n0 1 2\n", {"ends after line 5 where the name of a track is wanted"}},
        {"1\na\n0\n1\n0 1 2\n1 1 2\n", {"line 6", "the last of the 1 tracks that line 1 counts"}},
        {"1\na\nred\n1\n0 1 2\n", {"line 3, \"red\"", "the number of track \"a\""}},
        {"1\na\n0\n-1\n", {"line 4, \"-1\"", "the count of positions of track \"a\""}},
        {"1\na\n0\n2\n3 1 2\n3 1 2\n", {"line 6", "frame 3 already, at line 5"}},
        {"P\n\tFrame\tX pixels\tY pixels\n\t1\t2\n", {"line 3, \"1 2\"", "a frame, x and y"}},
        {"P\n\tFrame\tX pixels\tY pixels\n\t1\t2\tq\n", {"line 3", "\"q\" is no coordinate"}},
        {"{\"a\":[[0,1,2]],\n\"b\":[[0,1,2]\n [1,1,2]]}", {"line 3, \"[1,1,2]]}\"", "is no JSON"}},
        {"{\"a\":[[0,1,2]],\r\n", {"line 1", "ends too early"}},
        {"[[[[[[", {"line 1", "ends too early"}},
        {"{\"a[[\\\"{\": [],\n\"b\": " + std::string(300000, '['),
         {"line 2", "nested deeper than 16 levels"}},
        {"{\"a\":\n[[0,1,1e999]]}", {"line 2", "\"1e999\" is too large a number"}},
        {R"({"tracks":[{"points":[[0,1,2],[1,"x",2]]}]})",
         {"tracks[0].points[1], \"[1,\"x\",2]\""}},
        {R"({"tracks":[{"name":"a","points":[[0,1,2],[0,1,2]]}]})",
         {"tracks[0].points[1]: track \"a\"", "already, at tracks[0].points[0]"}},
        {R"({"a":{"1.5":[1,2]}})", {"a.1.5", "whole number"}},
        {R"({"a":{"0":[1,2],"00":[1,2]}})", {"a.00: track \"a\"", "already, at a.0"}},
        {R"({"a":{"0":[1,2],"1":[1,2],"0":[1,2]}})", {"\"a.0\" stands there twice"}},
        {R"({"fps":25,"a":[[0,1,2]]})",
         {"fps, \"25\"", "a list of points, as each name", "beside"}},
        {R"({"tracks":[{"points":7}]})", {"tracks[0].points, \"7\"", "a list of points such as"}},
        {R"([{"name":"a","frame":0.5,"x":1,"y":2}])", {"[0]", "whole number for the frame"}},
        {R"([{"name":"a","frame":0,"x":1}])", {"[0]", "\"y\", as of a point such as"}},
        {std::string("\0\x01\x1b[31m\xff\xc3m\n", 11), {"line 1, \"???[31m??m\""}},
        {std::string(500, 'q'), {"\"" + std::string(60, 'q') + "\"..."}},
    };
    for (const BadCase& bad : cases) {
        const std::string name = Write(bad.content);
        const std::string error = ErrorOf(MediaError::Kind::kInput, [&] { ReadGuideFile(name); });
        EXPECT_TRUE(error.starts_with(name + ": ")) << error;
        for (const std::string& part : bad.parts) ExpectContains(error, part);
    }
    const auto errorOfName = [&](const std::string& name) {
        return ErrorOf(MediaError::Kind::kInput, [&] { ReadGuideFile(name); });
    };
    ExpectContains(errorOfName(folder / "none.txt"), "none.txt: the file with tracked points");
    ExpectContains(errorOfName(folder / ""), "is a folder");
}

}  // namespace
}  // namespace velorin
