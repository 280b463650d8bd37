// Runs the `halcyra` binary against the stand-in effect library: catalogue
// listing and lookup, display-unit parameters as the effect receives them,
// transitions and filters over stills and clips, parallel against sequential
// output, sheets and the demo, and the one-line errors.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "host/Media.h"

namespace halcyra::host {
namespace {

namespace fs = std::filesystem;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

Frame Pattern(int width, int height, int seed) {
    Frame frame(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* p = frame.Row(y) + x * 4;
            p[0] = static_cast<uint8_t>(x * 3 + seed);
            p[1] = static_cast<uint8_t>(y * 5 + seed * 3);
            p[2] = static_cast<uint8_t>((x ^ y) + seed * 7);
            p[3] = 255;
        }
    return frame;
}

// The probe effect's report, spread over the colour bytes of row 0.
struct ProbeRecord {
    ParameterData values[6];
    double progress;
    double time;
    bool allocatorOffered;
    int fieldMode;
};

ProbeRecord DecodeProbe(const Frame& frame) {
    std::vector<uint8_t> bytes(6 * 8 + 8 + 8 + 2);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = frame.Row(0)[(i / 3) * 4 + i % 3];
    ProbeRecord record{};
    std::memcpy(record.values, bytes.data(), 48);
    std::memcpy(&record.progress, bytes.data() + 48, 8);
    std::memcpy(&record.time, bytes.data() + 56, 8);
    record.allocatorOffered = bytes[64] != 0;
    record.fieldMode = bytes[65];
    return record;
}

class HostCli : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "halcyra-host-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
        InitMedia();
    }
    void TearDown() override { fs::remove_all(dir); }

    std::string PathOf(const std::string& name) const { return (dir / name).string(); }

    Result Run(std::vector<std::string> args, const std::string& library = FAKE_LIBRARY) {
        if (!library.empty()) {
            args.push_back("--library");
            args.push_back(library);
        }
        std::string outPath = PathOf(".stdout"), errPath = PathOf(".stderr");
        pid_t child = fork();
        if (child == 0) {
            int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(out, 1);
            dup2(err, 2);
            std::vector<char*> argv{const_cast<char*>(HALCYRA_CLI)};
            for (std::string& arg : args) argv.push_back(arg.data());
            argv.push_back(nullptr);
            execv(HALCYRA_CLI, argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(child, &status, 0);
        Result result;
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.out = ReadFile(outPath);
        result.err = ReadFile(errPath);
        fs::remove(outPath);
        fs::remove(errPath);
        return result;
    }

    Frame ReadPicture(const std::string& name) {
        MediaReader reader(PathOf(name));
        return *reader.FrameAt(0, reader.Width(), reader.Height());
    }

    ProbeRecord Probe(std::vector<std::string> extra) {
        std::vector<std::string> args{"render", "Probe", "-o", PathOf("probe.png"), "--size", "40x8"};
        args.insert(args.end(), extra.begin(), extra.end());
        Result result = Run(args);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_TRUE(result.err.empty()) << "no progress bar when standard error is not a terminal";
        return DecodeProbe(ReadPicture("probe.png"));
    }

    fs::path dir;
};

TEST_F(HostCli, ListsOnlyTheRowsThatExist) {
    Result result = Run({"list"});
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* expected : {"Corvane Fake Mix", "transition", "Probe HY", "Earthquake HY", "3 effects"})
        EXPECT_NE(result.out.find(expected), std::string::npos) << expected;
    EXPECT_TRUE(result.err.empty());
}

TEST_F(HostCli, InfoShowsParametersInDisplayUnits) {
    Result result = Run({"info", "probe hy"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string& out = result.out;
    // Wrapped names are shown without their localisation key.
    EXPECT_EQ(out.find("$$$"), std::string::npos);
    for (const char* expected : {"Strength", "-100 .. 100", "0 .. 360", "90", "#fe0000", "50,50",
                                 "\"First picture\"", "\"Second picture\"", "Gentle", "Wild", "Strength=100"})
        EXPECT_NE(out.find(expected), std::string::npos) << expected << " missing from\n" << out;
}

TEST_F(HostCli, EffectsResolveByIndexOrForgivingName) {
    for (const char* query : {"0", "fake mix", "Corvane FAKE Mix", "mix"}) {
        Result result = Run({"info", query});
        EXPECT_EQ(result.status, 0) << query << ": " << result.err;
        EXPECT_EQ(result.out.rfind("Corvane Fake Mix", 0), 0u) << query;
    }
    Result ambiguous = Run({"info", "a"});
    EXPECT_EQ(ambiguous.status, 1);
    EXPECT_NE(ambiguous.err.find("ambiguous"), std::string::npos) << ambiguous.err;
    EXPECT_NE(ambiguous.err.find("Earthquake HY"), std::string::npos) << ambiguous.err;
    Result close = Run({"info", "Fake Mx"});
    EXPECT_EQ(close.status, 1);
    EXPECT_NE(close.err.find("did you mean \"Corvane Fake Mix\""), std::string::npos) << close.err;
}

TEST_F(HostCli, DisplayValuesReachTheEffectNormalised) {
    ProbeRecord defaults = Probe({"--progress", "0.25"});
    EXPECT_EQ(defaults.values[0].number, 0.5f);
    EXPECT_EQ(defaults.values[2].colour, 0x0000FEu);
    EXPECT_EQ(defaults.progress, 0.25);
    EXPECT_EQ(defaults.time, 0.5);  // a still at progress 0.25 of the default 2 seconds
    EXPECT_TRUE(defaults.allocatorOffered);
    EXPECT_EQ(defaults.fieldMode, 3);

    ProbeRecord set = Probe({"--set", "Strength=-50", "--set", "angle=90", "--set", "Color=#ff8800", "--set",
                             "Center=25,75", "--set", "Background=second PICTURE", "--set", "Rotate=on"});
    EXPECT_EQ(set.values[0].number, 0.25f);
    EXPECT_EQ(set.values[1].number, 0.25f);
    EXPECT_EQ(set.values[2].colour, 0x0088FFu);  // red in the lowest byte
    EXPECT_EQ(set.values[3].point[0], 0.25f);
    EXPECT_EQ(set.values[3].point[1], 0.75f);
    EXPECT_EQ(set.values[4].choice, 1);
    EXPECT_NE(set.values[5].flag, 0);

    // Choices by index, the raw localisation name, a preset with a later override.
    ProbeRecord other = Probe({"--set", "Background=2", "--set", "$$$/CV/Angle=Angle=360", "--preset", "wild",
                               "--set", "Color=0x000000", "--no-host-allocator"});
    EXPECT_EQ(other.values[4].choice, 2);
    EXPECT_EQ(other.values[1].number, 1.0f);
    EXPECT_EQ(other.values[0].number, 1.0f);
    EXPECT_NE(other.values[5].flag, 0);
    EXPECT_EQ(other.values[2].colour, 0u);
    EXPECT_FALSE(other.allocatorOffered);
}

TEST_F(HostCli, TransitionStartsOnTheFirstClipAndEndsOnTheSecond) {
    WriteImage(PathOf("a.png"), Pattern(48, 32, 1));
    WriteImage(PathOf("b.png"), Pattern(48, 32, 90));
    auto render = [&](const std::string& progress, bool reverse) {
        std::vector<std::string> args{
            "render",     "0",      "--from", PathOf("a.png"),  "--to", PathOf("b.png"),
            "--progress", progress, "-o",     PathOf("out.png")};
        if (reverse) args.push_back("--reverse-progress");
        Result result = Run(args);
        EXPECT_EQ(result.status, 0) << result.err;
        return ReadPicture("out.png").pixels;
    };
    std::vector<uint8_t> a = Pattern(48, 32, 1).pixels, b = Pattern(48, 32, 90).pixels;
    EXPECT_EQ(render("0", false), a);
    EXPECT_EQ(render("1", false), b);
    EXPECT_EQ(render("0", true), b);
    EXPECT_NE(render("0.5", false), a);
}

TEST_F(HostCli, FilterRunsOverTheWholeClipWithItsTimestamps) {
    {
        std::unique_ptr<FrameWriter> clip = CreateWriter(PathOf("clip.mkv"), 64, 48, 10);
        for (int i = 0; i < 10; ++i) clip->Write(Pattern(64, 48, i * 20));
        clip->Finish();
    }
    fs::create_directory(dir / "frames");
    Result result = Run({"render", "probe", "--from", PathOf("clip.mkv"), "-o", PathOf("frames/%03d.png")});
    ASSERT_EQ(result.status, 0) << result.err;
    int files =
        static_cast<int>(std::distance(fs::directory_iterator(dir / "frames"), fs::directory_iterator()));
    EXPECT_EQ(files, 10);
    for (int i = 0; i < 10; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "frames/%03d.png", i);
        ProbeRecord record = DecodeProbe(ReadPicture(name));
        EXPECT_NEAR(record.time, i / 10.0, 1e-9) << i;
        EXPECT_NEAR(record.progress, i / 9.0, 1e-9) << i;
    }
}

TEST_F(HostCli, ParallelOutputIsByteIdenticalToSequential) {
    WriteImage(PathOf("a.png"), Pattern(64, 48, 3));
    WriteImage(PathOf("b.png"), Pattern(64, 48, 150));
    for (const char* extension : {"gif", "mp4", "webm"}) {
        std::string outputs[2];
        for (int jobs : {1, 3}) {
            std::string out = PathOf("mix" + std::to_string(jobs) + "." + extension);
            Result result =
                Run({"render", "fake mix", "--from", PathOf("a.png"), "--to", PathOf("b.png"), "-o", out,
                     "--duration", "1", "--fps", "12", "--jobs", std::to_string(jobs)});
            ASSERT_EQ(result.status, 0) << extension << ": " << result.err;
            outputs[jobs == 3] = ReadFile(out);
        }
        EXPECT_FALSE(outputs[0].empty());
        EXPECT_TRUE(outputs[0] == outputs[1]) << extension;
    }
    // The stateful effect sees its frames in order on one object however many jobs.
    for (int jobs : {1, 4}) {
        fs::path frames = dir / ("quake" + std::to_string(jobs));
        fs::create_directory(frames);
        Result result =
            Run({"render", "earthquake", "--from", PathOf("a.png"), "-o", (frames / "%d.png").string(),
                 "--duration", "0.6", "--fps", "10", "--jobs", std::to_string(jobs)});
        ASSERT_EQ(result.status, 0) << result.err;
        for (int i = 0; i < 6; ++i) {
            Frame frame = ReadPicture(("quake" + std::to_string(jobs)) + "/" + std::to_string(i) + ".png");
            EXPECT_EQ(frame.Row(5)[7 * 4], static_cast<uint8_t>(7 * 3 + 3 + i + 1))
                << "jobs " << jobs << " frame " << i;
        }
    }
}

TEST_F(HostCli, SheetAndDemoWriteTheirFiles) {
    Result sheet =
        Run({"sheet", "-o", PathOf("sheet.png"), "0", "probe", "--size", "80x45", "--progress", "0,1"});
    ASSERT_EQ(sheet.status, 0) << sheet.err;
    Frame picture = ReadPicture("sheet.png");
    EXPECT_EQ(picture.height, 16 * 2 + 36 + 2 * 45 + 10);

    Result demo = Run({"demo", PathOf("demo/out")});
    ASSERT_EQ(demo.status, 0) << demo.err;
    EXPECT_TRUE(fs::exists(dir / "demo/out/sheet.png"));
    EXPECT_TRUE(fs::exists(dir / "demo/out/transitions.mp4"));
    EXPECT_NE(demo.out.find(PathOf("demo/out/sheet.png")), std::string::npos) << demo.out;
    EXPECT_NE(demo.out.find("Corvane Fake Mix"), std::string::npos) << demo.out;
    MediaReader video(PathOf("demo/out/transitions.mp4"));
    EXPECT_EQ(video.Width(), 1280);
    EXPECT_NEAR(video.Duration(), 1.5, 0.05);
}

TEST_F(HostCli, EveryErrorIsOneLineAndLeavesNothingBehind) {
    WriteImage(PathOf("a.png"), Pattern(32, 32, 1));
    const std::string a = PathOf("a.png"), out = PathOf("out.mp4");
    struct Case {
        std::vector<std::string> args;
        const char* message;
        int status;
        std::string library = FAKE_LIBRARY;
    };
    const Case cases[] = {
        {{"render", "probe", "--from", PathOf("missing.png"), "-o", out}, "cannot read", 1},
        {{"render", "probe", "--from", a, "-o", PathOf("no/such/dir/out.mp4")}, "cannot write", 1},
        {{"render", "probe", "--from", a, "-o", PathOf("no/such/dir/%d.png")}, "cannot write", 1},
        {{"render", "nonesuch", "-o", out}, "unknown effect \"nonesuch\"", 1},
        {{"render", "2", "-o", out}, "is not available", 1},
        {{"render", "probe", "--set", "Zoom=5", "-o", out}, "unknown parameter \"Zoom\"", 1},
        {{"render", "probe", "--set", "Strength=150", "-o", out}, "out of range", 1},
        {{"render", "probe", "--set", "Color=orange", "-o", out}, "#rrggbb", 1},
        {{"render", "probe", "--set", "Rotate=maybe", "-o", out}, "on or off", 1},
        {{"render", "probe", "--set", "Center=50", "-o", out}, "x,y", 1},
        {{"render", "probe", "--set", "Background=Blue", "-o", out}, "\"Second picture\"", 1},
        {{"render", "probe", "--preset", "Calm", "-o", out}, "unknown preset", 1},
        {{"render", "mix", "--from", a, "-o", out}, "needs two clips", 1},
        {{"render", "probe", "--to", a, "-o", out}, "is a filter", 1},
        {{"render", "probe", "--size", "0x5", "-o", out}, "--size", 1},
        {{"render", "probe", "-o", PathOf("out.xyz")}, "cannot tell an output format", 1},
        {{"render", "probe", "--progress", "0.5", "-o", out}, "single-image", 1},
        {{"render", "probe", "--frobnicate", "-o", out}, "unknown option", 2},
        {{"render", "probe"}, "-o OUT", 2},
        {{"list", "--library", PathOf("nothing.so")}, "cannot load the effect library", 1, ""},
    };
    for (const Case& c : cases) {
        Result result = Run(c.args, c.library);
        std::string label = c.args[0] + " " + c.args[1] + " " + (c.args.size() > 2 ? c.args[2] : "");
        EXPECT_EQ(result.status, c.status) << label;
        EXPECT_EQ(result.err.rfind("halcyra: ", 0), 0u) << label << ": " << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << label << ": " << result.err;
        EXPECT_NE(result.err.find(c.message), std::string::npos) << label << ": " << result.err;
    }
    // Only the input is left: no output and no temporary file.
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(dir)) left.push_back(entry.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>{"a.png"});
}

// The real library, for the rows it offers at the time: every row renders
// through the host, and the transition frame's promise of plain copies at the
// ends holds end to end.
class RealLibrary : public HostCli {
protected:
    void SetUp() override {
        if (!fs::exists(REAL_LIBRARY)) GTEST_SKIP() << "libhalcyra.so is not built";
        HostCli::SetUp();
    }
    std::vector<int> Rows() {
        Result list = Run({"list"}, REAL_LIBRARY);
        EXPECT_EQ(list.status, 0) << list.err;
        std::vector<int> rows;
        std::istringstream lines(list.out);
        std::string line;
        std::getline(lines, line);
        while (std::getline(lines, line)) {
            int index = -1;
            if (std::sscanf(line.c_str(), "%d", &index) == 1 &&
                line.find(" effects in ") == std::string::npos)
                rows.push_back(index);
        }
        return rows;
    }
};

TEST_F(RealLibrary, EveryRowRendersThroughTheHost) {
    for (int row : Rows()) {
        std::string out = PathOf(std::to_string(row) + ".png");
        Result result = Run({"render", std::to_string(row), "--size", "96x54", "-o", out}, REAL_LIBRARY);
        EXPECT_EQ(result.status, 0) << "row " << row << ": " << result.err;
        EXPECT_EQ(ReadPicture(std::to_string(row) + ".png").width, 96) << "row " << row;
    }
}

TEST_F(RealLibrary, BouncingCubesShowsTheClipsAtTheEnds) {
    std::vector<int> rows = Rows();
    if (std::find(rows.begin(), rows.end(), 12) == rows.end()) GTEST_SKIP() << "row 12 is not in this build";
    WriteImage(PathOf("a.png"), Pattern(64, 48, 5));
    WriteImage(PathOf("b.png"), Pattern(64, 48, 77));
    auto render = [&](const char* progress, const char* reverse) {
        Result result =
            Run({"render", "Bouncing Cubes", "--from", PathOf("a.png"), "--to", PathOf("b.png"), "--progress",
                 progress, "--set", std::string("Reverse=") + reverse, "-o", PathOf("out.png")},
                REAL_LIBRARY);
        EXPECT_EQ(result.status, 0) << result.err;
        return ReadPicture("out.png").pixels;
    };
    EXPECT_EQ(render("0", "off"), Pattern(64, 48, 5).pixels);
    EXPECT_EQ(render("1", "off"), Pattern(64, 48, 77).pixels);
    EXPECT_EQ(render("0", "on"), Pattern(64, 48, 5).pixels);
}

}  // namespace
}  // namespace halcyra::host
