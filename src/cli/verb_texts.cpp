#include "cli/verb_texts.h"

#include <algorithm>
#include <iterator>

namespace velorin {

namespace {

constexpr VerbText kVerbTexts[] = {
    {kVerbRetime, "retime", "INPUT -o OUTPUT",
     "INPUT and OUTPUT are each a movie or an image sequence: shot.%04d.png, shot.####.png, or "
     "for\n"
     "INPUT a folder that holds one sequence. Frames count from 0; the numbers in a sequence's\n"
     "names go on from the input's first. - stands for a pipe of y4m or NUT, however long it is.\n",
     "  velorin retime shot.mov -o slow.mov --speed 0.4\n"
     "  velorin retime shot.mov -o ramp.mov --speed-curve 0:1,24:0.25~,48:1\n"
     "  velorin retime plates/shot.%04d.exr -o slow/shot.%04d.exr --speed 0.25 --quality full\n"
     "  velorin retime shot.####.png -o test.####.png --speed 0.5 --frames 40-59 --interp "
     "nearest\n"
     "  velorin retime shot.####.exr -o slow.####.exr --setup shot.toml --chunk 2/8 --resume\n"
     "  ffmpeg -i shot.mov -f yuv4mpegpipe - | velorin retime - -o - --speed 0.5 | ffplay -\n",
     "render a clip at another speed"},
    {kVerbPlan, "plan", "INPUT",
     "Tells what retime would do, without doing it: for each output frame its source time, the\n"
     "source frames that it is made of with their shares, the scene, the method, and how many "
     "flows\n"
     "are estimated for it. Takes the options of retime but for those of its output; of all clips "
     "it\n"
     "looks at INPUT alone. Frames count from 0.\n",
     "  velorin plan shot.mov --speed-curve 0:1,24:0.25~,48:1\n"
     "  velorin plan shot.mov --frame-curve 0:0~,48:12,72:0 --plot curve.png\n"
     "  velorin plan plates/shot.%04d.exr --fit-rate 24000/1001 --json > plan.json\n",
     "tell what retime would do, and draw its law of time"},
    {kVerbCompare, "compare", "INPUT --at TIME -o SHEET",
     "Renders one moment of a clip with every pair of --interp and --warp into one labelled\n"
     "picture, three by three: the rows are Nearest, Blend and Weighted Energy Blend, the columns\n"
     "Inverse, Inverse + Smart Blend and Forward. INPUT is a movie, an image sequence such as\n"
     "shot.%04d.png or a folder that holds one. Frames count from 0. Samples of 16 bits and float\n"
     "are shown in 8 bits, float from 0 to 1; transparent parts show the dark grey of the sheet.\n",
     "  velorin compare shot.mov --at 12.5 -o sheet.png\n"
     "  velorin compare plates/shot.%04d.exr --at 40.25 -o sheet.png --quality full\n"
     "  velorin compare shot.mov --at 12.5 -o hand.png --crop 800,420,480x270\n",
     "render one moment with every method into one picture"},
    {kVerbVectors, "vectors", "INPUT -o OUTPUT",
     "Writes how the pixels of a clip move, one EXR file of 32-bit floats a frame: forward.u and\n"
     "forward.v lead from a pixel of the frame to the same content in the next one, backward.u "
     "and\n"
     "backward.v to that in the frame before, in pixels of the frame, u to the right and v up. "
     "The\n"
     "last frame has no next one and the first none before: zeros. OUTPUT is a sequence such as\n"
     "flow.%04d.exr. Frames count from 0.\n",
     "  velorin vectors shot.mov -o flow.%04d.exr --quality full\n"
     "  velorin vectors shot.mov -o flow.####.exr --guides tracks.txt\n"
     "  velorin retime shot.mov -o slow.mov --speed 0.5 --vectors-format pixels \\\n"
     "      --forward-vectors flow.%04d.exr --backward-vectors flow.%04d.exr\n",
     "write how the pixels of a clip move"},
    {kVerbVerify, "verify", "OUTPUT",
     "Looks whether a sequence or a movie that velorin retime wrote is all there: tells the "
     "frames\n"
     "that are missing, that cannot be read, and that were made with other settings than most.\n"
     "OUTPUT is written as it was for velorin retime. Frames count from 0. Ends with code 1 where\n"
     "something is wrong.\n",
     "  velorin verify slow/shot.%04d.exr\n"
     "  velorin verify slow.%04d.png --frames 100-199 --json\n",
     "look whether an output is whole and of one piece"},
    {kVerbScenes, "scenes", "INPUT",
     "Looks for the hard cuts of a clip: tells its scenes with their first and last frames and "
     "the\n"
     "score of the cut that each begins with, from 0 to 100. Pans, shaking, fades, dissolves, "
     "flicker\n"
     "and flashes of up to 3 frames are no cuts. INPUT is a movie, an image sequence such as\n"
     "shot.%04d.png or a folder that holds one. Frames count from 0.\n",
     "  velorin scenes film.mov\n"
     "  velorin scenes film.mov -o scenes.toml --threshold 40\n"
     "  velorin retime film.mov -o slow.mov --speed 0.5 --scenes scenes.toml\n",
     "find the cuts of a clip"},
    {kVerbInfo, "info", "INPUT",
     "Tells what is known of a clip: its frames, size, rate, timecode, channels, depth, fields\n"
     "and colours, and the numbers that a sequence lacks.\n"
     "INPUT is a movie, an image sequence such as shot.%04d.png or a folder that holds one.\n",
     "  velorin info shot.mov\n"
     "  velorin info plates/shot.%04d.exr --json\n",
     "tell what is known of a clip"},
    {kVerbPanelDump, "panel-dump", "PLUGIN.so",
     "Writes the panel that a compositing host builds of a plug-in: each control's name and kind,\n"
     "its title or the entries of its menu, its value and range, and the callback of an edit.\n",
     "  velorin panel-dump velorin_spark.so\n"
     "  velorin panel-dump velorin_spark.so --json\n",
     "tell the controls of a plug-in"},
    {kVerbSparkRender, "spark-render", "PLUGIN.so --front CLIP -o OUTPUT",
     "Renders through a plug-in as a compositing host does, which holds frames in three channels.\n"
     "Clips and OUTPUT are movies or image sequences, as of velorin retime. Frames count from 0\n"
     "but for those of curves, which count from 1. velorin panel-dump tells the controls.\n",
     "  velorin spark-render velorin_spark.so --front shot.%04d.exr -o slow.%04d.exr \\\n"
     "      --set \"SparkFloat32 = 0.5\" --length 200\n"
     "  velorin spark-render velorin_spark.so --setup shot.setup --front shot.mov \\\n"
     "      --matte matte.mov -o slow.mov\n",
     "render through a plug-in as a compositing host does"},
    {kVerbCompletion, "completion", "bash|zsh|fish",
     "Writes what makes a shell complete the options of velorin and their values.\n",
     "  velorin completion bash >~/.local/share/bash-completion/completions/velorin\n"
     "  velorin completion zsh >~/.zfunc/_velorin\n"
     "  velorin completion fish >~/.config/fish/completions/velorin.fish\n",
     "write the completion of a shell"},
    {kVerbMan, "man", "", "Writes the manual page, all of this help in one text.\n",
     "  velorin man | man -l -\n", "write the manual page"},
};

}  // namespace

std::span<const VerbText> VerbTexts() {
    return kVerbTexts;
}

const VerbText& TextOf(Verb verb) {
    return *std::find_if(std::begin(kVerbTexts), std::end(kVerbTexts),
                         [&](const VerbText& text) { return text.verb == verb; });
}

}  // namespace velorin
