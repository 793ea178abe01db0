// Runs the built vessik tool and holds what it writes against what Parse2 gives
// for the same drawing and settings.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cli/ToolFiles.h"
#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Hostile.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

extern char** environ;

namespace vessik {
namespace {

using test::kShapes;
using test::kTool;
using test::ReadFile;

// What one run of a program left behind.
struct ToolRun {
  int exitStatus = -1;
  std::string out;
  std::string err;
  long peakKb = 0;  // the most memory the program had in RAM at once
};

// A fresh folder for the files of one test, removed at its end.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vessik-cli-XXXXXX").string();
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (::mkdtemp(buf.data()) != nullptr) path_ = buf.data();
  }
  ~TempDir() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string File(const std::string& name) const { return path_ + "/" + name; }
  // How many files and folders the folder holds.
  int Entries() const {
    int count = 0;
    for (const auto& e : std::filesystem::directory_iterator(path_)) {
      (void)e;
      ++count;
    }
    return count;
  }

 private:
  std::string path_;
};

// Runs the program with the arguments, standard output and error going to files.
ToolRun RunProgram(const char* program, const std::vector<std::string>& args) {
  ToolRun run;
  TempDir dir;
  const std::string outPath = dir.File("stdout");
  const std::string errPath = dir.File("stderr");
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv;
  for (auto& a : argv) cargv.push_back(a.data());
  cargv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = 0;
  const int rc = ::posix_spawnp(&pid, program, &actions, nullptr, cargv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    ADD_FAILURE() << "cannot start " << program;
    return run;
  }
  int status = 0;
  rusage usage{};
  while (::wait4(pid, &status, 0, &usage) < 0) {
  }
  run.peakKb = usage.ru_maxrss;
  run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.out = ReadFile(outPath);
  run.err = ReadFile(errPath);
  return run;
}

ToolRun RunTool(const std::vector<std::string>& args) {
  return RunProgram(kTool, args);
}

#if !defined(__SANITIZE_ADDRESS__)
// The tool's peak memory in KB for these arguments, or -1. A child started from
// this process counts this process's peak as its own; one started from a small
// interpreter counts the interpreter's few megabytes.
long ToolPeakKb(const std::vector<std::string>& args) {
  std::vector<std::string> argv{"-c",
                                "import resource, subprocess, sys\n"
                                "r = subprocess.run(sys.argv[1:])\n"
                                "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss "
                                "if r.returncode == 0 else -1)\n",
                                kTool};
  argv.insert(argv.end(), args.begin(), args.end());
  const ToolRun run = RunProgram("python3", argv);
  if (run.exitStatus != 0 || run.out.empty()) return -1;
  return std::stol(run.out);
}
#endif

// The failure line as the tool must write it.
std::string ErrorLine(int32_t number, const std::string& description) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08X", static_cast<unsigned>(static_cast<uint32_t>(number)));
  return "vessik: error " + std::to_string(number) + " (0x" + hex + "): " + description + "\n";
}

// What the tool must do for this drawing and these settings, worked out in
// process: the text and exit 0, or the failure line and exit 1.
ToolRun Expected(const std::string& path, Vessik_CommonData settings, bool layers = false) {
  ToolRun run;
  Vessik_Parser parser;
  Vessik_Progress progress;
  try {
    run.out = parser.Parse2(path, settings, progress);
    run.exitStatus = 0;
    if (layers) {
      std::string text;
      for (const auto& layer : parser.Layers()) {
        text += layer->Name + "\t" + std::to_string(layer->Color->ColorACI()) + "\t" +
                std::to_string(layer->Color->ColorRGB()) + "\n";
      }
      run.out = text;
    }
  } catch (const Vessik_Error& e) {
    run.out.clear();
    run.err = ErrorLine(e.Number(), e.Description());
    run.exitStatus = 1;
  }
  return run;
}

void ExpectSame(const ToolRun& actual, const ToolRun& expected) {
  EXPECT_EQ(actual.exitStatus, expected.exitStatus);
  EXPECT_TRUE(actual.out == expected.out) << "the output differs from Parse2's text";
  EXPECT_EQ(actual.out.size(), expected.out.size());
  EXPECT_EQ(actual.err, expected.err);
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (kTool == nullptr) VESSIK_SKIP_OR_FAIL("the tool is not built");
  }
};

TEST_F(CliTest, ShapesWithDefaultsIsParse2Text) {
  ExpectSame(RunTool({kShapes}), Expected(kShapes, test::ToolDefaults()));
}

TEST_F(CliTest, EverySettingReachesTheParse) {
  Vessik_CommonData d;
  d.Tolerance = 0.5;
  d.Check = 1;
  d.ArcMaximumDeviationFactor = 0.25;
  d.ArcMinimumSegmentLengthFactor = 0.5;
  d.ArcMaximumSegmentLengthFactor = 3;
  d.InitialSegments = 7;
  ExpectSame(RunTool({"--tolerance", "0.5", "--check", "1", "--arc-max-deviation", "0.25",
                      "--arc-min-segment-length", "0.5", "--arc-max-segment-length", "3",
                      "--initial-segments", "7", kShapes}),
             Expected(kShapes, d));
}

// The record text of the rows: columns apart by spaces here, by TABs in the
// output, every row ending in TAB CR LF.
std::string Rows(const std::vector<std::string>& rows) {
  std::string text;
  for (const std::string& row : rows) {
    for (char c : row) text += c == ' ' ? '\t' : c;
    text += "\t\r\n";
  }
  return text;
}

// A quadratic spline of two straight pieces meeting in a right angle at the inner
// knot 1, of full multiplicity: (0,0) to (10,0), then up to (10,10). Only the
// spline settings reach it.
std::string CornerSpline() {
  std::vector<std::pair<int, std::string>> e{{0, "SPLINE"}, {5, "50"}, {8, "0"}, {70, "8"},
                                             {71, "2"},     {72, "9"}, {73, "6"}};
  for (const char* k : {"0", "0", "0", "1", "1", "1", "2", "2", "2"}) e.push_back({40, k});
  const std::vector<std::pair<const char*, const char*>> points{
      {"0", "0"}, {"5", "0"}, {"10", "0"}, {"10", "0"}, {"10", "5"}, {"10", "10"}};
  for (const auto& [x, y] : points) {
    e.push_back({10, x});
    e.push_back({20, y});
    e.push_back({30, "0"});
  }
  return test::Drawing(e, {{"0", 7}});
}

// An arc of radius 10 from 0 to 20 degrees in a block placed with X scale 2: the
// scale deforms it, so it is cut into segments and only the three arc settings
// reach it. Its length is 3.49; with the defaults the sagitta of 0.01 asks for 4
// steps of 5 degrees.
std::string StretchedArc() {
  return test::Drawing({{0, "INSERT"},
                        {5, "30"},
                        {8, "0"},
                        {2, "B"},
                        {10, "0"},
                        {20, "0"},
                        {41, "2"},
                        {42, "1"},
                        {43, "1"}},
                       {{"0", 7}},
                       {{0, "BLOCK"},
                        {2, "B"},
                        {10, "0"},
                        {20, "0"},
                        {30, "0"},
                        {0, "ARC"},
                        {5, "21"},
                        {8, "0"},
                        {10, "0"},
                        {20, "0"},
                        {40, "10"},
                        {50, "0"},
                        {51, "20"},
                        {0, "ENDBLK"}});
}

// The corner spline with the defaults: the march ends its pieces 1E-9 inside the
// knot range, and the two straight pieces are joined across the corner into one
// segment to just behind it, since the corner lies within the tolerance of it.
const std::vector<std::string> kCornerDefault{
    "80 83 0 0 16777215 1E-08 0 0 10 1.00000008274037E-08 0 0 0 0 0 0 0",
    "80 83 0 0 16777215 10 1.00000008274037E-08 0 10 9.99999999 0 0 0 0 0 0 0"};

// The stretched arc with the defaults: 4 steps of 5 degrees, X doubled.
const std::vector<std::string> kArcDefault{
    "33 83 0 0 16777215 20 0 0 19.9238939618349 0.871557427476581 0 0 0 0 0 0 0",
    "33 83 0 0 16777215 19.9238939618349 0.871557427476581 0 19.6961550602442 "
    "1.7364817766693 0 0 0 0 0 0 0",
    "33 83 0 0 16777215 19.6961550602442 1.7364817766693 0 19.3185165257814 "
    "2.58819045102521 0 0 0 0 0 0 0",
    "33 83 0 0 16777215 19.3185165257814 2.58819045102521 0 18.7938524157182 "
    "3.42020143325668 0 0 0 0 0 0 0"};

// Runs the tool on the drawing with and without the flag, and holds both texts to
// the exact records (and to Parse2 with the one setting changed).
void ExpectFlagText(const std::string& drawing, const std::vector<std::string>& defaults,
                    const char* flag, const char* value, void (*apply)(Vessik_CommonData&),
                    const std::vector<std::string>& flagged) {
  test::TempFile f(drawing);
  const ToolRun plain = RunTool({f.Path()});
  EXPECT_EQ(plain.exitStatus, 0);
  EXPECT_EQ(plain.err, "");
  EXPECT_EQ(plain.out, Rows(defaults));
  const ToolRun run = RunTool({flag, value, f.Path()});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, Rows(flagged));
  EXPECT_NE(run.out, plain.out);
  Vessik_CommonData d = test::ToolDefaults();
  apply(d);
  ExpectSame(run, Expected(f.Path(), d));
}

TEST_F(CliTest, ToleranceFlag) {
  // A tolerance of 5 takes the corner (10, 0) into the joined segment, which now
  // runs to the end of the next fitted piece, (10, 5).
  ExpectFlagText(CornerSpline(), kCornerDefault, "--tolerance", "5",
                 [](Vessik_CommonData& d) { d.Tolerance = 5; },
                 {"80 83 0 0 16777215 1E-08 0 0 10 5.00000001 0 0 0 0 0 0 0",
                  "80 83 0 0 16777215 10 5.00000001 0 10 9.99999999 0 0 0 0 0 0 0"});
}

TEST_F(CliTest, CheckFlag) {
  // Check 1 cuts the spline at the corner: each straight piece is fitted alone and
  // the first one ends 1E-9 before the knot, on the X axis.
  ExpectFlagText(CornerSpline(), kCornerDefault, "--check", "1",
                 [](Vessik_CommonData& d) { d.Check = 1; },
                 {"80 83 0 0 16777215 1E-08 0 0 9.99999999 0 0 0 0 0 0 0 0",
                  "80 83 0 0 16777215 10 1.00000008274037E-08 0 10 9.99999999 0 0 0 0 0 0 0"});
}

TEST_F(CliTest, InitialSegmentsFlag) {
  // Steps of at most 2/3 of the knot range instead of 2/4 meet the corner
  // elsewhere: it is rounded by a small arc between the two segments.
  ExpectFlagText(CornerSpline(), kCornerDefault, "--initial-segments", "3",
                 [](Vessik_CommonData& d) { d.InitialSegments = 3; },
                 {"80 83 0 0 16777215 1E-08 0 0 9.99663416346591 0 0 0 0 0 0 0 0",
                  "80 83 0 0 16777215 10 0.000210346451676724 0 10 9.99999999 0 0 0 0 0 0 0",
                  "80 66 0 0 16777215 0 0 0 0 0 0 9.99663416346591 0.0523295850228554 0 "
                  "0.0523295850228554 270 273.576023533184"});
}

TEST_F(CliTest, ArcMaxDeviationFlag) {
  // A sagitta of 1 allows a chord of 8.7, longer than the whole arc: one segment.
  ExpectFlagText(StretchedArc(), kArcDefault, "--arc-max-deviation", "1",
                 [](Vessik_CommonData& d) { d.ArcMaximumDeviationFactor = 1; },
                 {"33 83 0 0 16777215 20 0 0 18.7938524157182 3.42020143325668 0 0 0 0 0 0 0"});
}

TEST_F(CliTest, ArcMinSegmentLengthFlag) {
  // Segments no shorter than 2 on an arc of length 3.49: at most 2 of 10 degrees.
  ExpectFlagText(StretchedArc(), kArcDefault, "--arc-min-segment-length", "2",
                 [](Vessik_CommonData& d) { d.ArcMinimumSegmentLengthFactor = 2; },
                 {"33 83 0 0 16777215 20 0 0 19.6961550602442 1.7364817766693 0 0 0 0 0 0 0",
                  "33 83 0 0 16777215 19.6961550602442 1.7364817766693 0 18.7938524157182 "
                  "3.42020143325668 0 0 0 0 0 0 0"});
}

TEST_F(CliTest, ArcMaxSegmentLengthFlag) {
  // Segments no longer than 0.7: 3.49 / 0.7 rounds to at least 5 steps of 4 degrees.
  ExpectFlagText(StretchedArc(), kArcDefault, "--arc-max-segment-length", "0.7",
                 [](Vessik_CommonData& d) { d.ArcMaximumSegmentLengthFactor = 0.7; },
                 {"33 83 0 0 16777215 20 0 0 19.9512810051965 0.697564737441252 0 0 0 0 0 0 0",
                  "33 83 0 0 16777215 19.9512810051965 0.697564737441252 0 19.8053613748314 "
                  "1.39173100960065 0 0 0 0 0 0 0",
                  "33 83 0 0 16777215 19.8053613748314 1.39173100960065 0 19.5629520146761 "
                  "2.07911690817759 0 0 0 0 0 0 0",
                  "33 83 0 0 16777215 19.5629520146761 2.07911690817759 0 19.2252339187664 "
                  "2.75637355816999 0 0 0 0 0 0 0",
                  "33 83 0 0 16777215 19.2252339187664 2.75637355816999 0 18.7938524157182 "
                  "3.42020143325668 0 0 0 0 0 0 0"});
}

TEST_F(CliTest, ZeroSettingsAreAccepted) {
  // The arc factors at 0 give steps of one degree; no ellipse here, as a tolerance of
  // 0 cannot fit one.
  test::TempFile f(test::Drawing({{0, "ARC"},
                                  {5, "1F"},
                                  {8, "0"},
                                  {10, "1"},
                                  {20, "2"},
                                  {40, "3"},
                                  {50, "10"},
                                  {51, "80"},
                                  {0, "INSERT"},
                                  {5, "20"},
                                  {2, "B"},
                                  {41, "2"},
                                  {42, "1"}},
                                 {{"0", 7}},
                                 {{0, "BLOCK"},
                                  {2, "B"},
                                  {10, "0"},
                                  {20, "0"},
                                  {30, "0"},
                                  {0, "CIRCLE"},
                                  {5, "21"},
                                  {10, "0"},
                                  {20, "0"},
                                  {40, "1"},
                                  {0, "ENDBLK"}}));
  Vessik_CommonData zero;
  ExpectSame(RunTool({"--tolerance", "0", "--check", "0", "--arc-max-deviation", "0",
                      "--arc-min-segment-length", "0", "--arc-max-segment-length", "0",
                      "--initial-segments", "0", f.Path()}),
             Expected(f.Path(), zero));
}

TEST_F(CliTest, NegativeAndExponentValuesAreAccepted) {
  Vessik_CommonData d = test::ToolDefaults();
  d.Tolerance = 0.002;
  d.Check = -1;
  d.ArcMaximumSegmentLengthFactor = -2.5;
  ExpectSame(
      RunTool({"--tolerance=2e-3", "--check", "-1", "--arc-max-segment-length", "-2.5", kShapes}),
      Expected(kShapes, d));
}

TEST_F(CliTest, OutputFileHoldsTheTextAndStdoutStaysEmpty) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  ToolRun run = RunTool({"-o", out, kShapes});
  ToolRun expected = Expected(kShapes, test::ToolDefaults());
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(ReadFile(out) == expected.out);
  ToolRun longForm = RunTool({"--output", out, kShapes});
  EXPECT_EQ(longForm.exitStatus, 0);
  EXPECT_TRUE(ReadFile(out) == expected.out);
}

TEST_F(CliTest, OutputFileIsNotWrittenOnFailure) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  ToolRun run = RunTool({"-o", out, dir.File("missing.dxf")});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(CliTest, UnwritableOutputFileFails) {
  TempDir dir;
  ToolRun run = RunTool({"-o", dir.File("no/such/folder/out.txt"), kShapes});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, ErrorLine(75, "Path/File access error"));
}

// Megabytes of lines, which the tool hands on as it goes, and then a reference to
// 2^29 lines through 30 levels of blocks that each hold the next twice: the
// memory runs out while they are read.
std::string LinesThenDoublingBlocks() {
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < 30000; ++i) {
    const std::string x = std::to_string(i);
    entities.insert(entities.end(), {{0, "LINE"}, {8, "0"}, {10, x}, {11, x}, {21, "1"}});
  }
  entities.insert(entities.end(), {{0, "INSERT"}, {8, "0"}, {2, "B0"}});
  std::vector<std::pair<int, std::string>> blocks;
  for (int k = 0; k < 30; ++k) {
    blocks.insert(blocks.end(), {{0, "BLOCK"}, {2, "B" + std::to_string(k)}, {10, "0"}});
    if (k + 1 == 30) {
      blocks.insert(blocks.end(), {{0, "LINE"}, {8, "0"}, {11, "1"}, {21, "1"}});
    } else {
      for (int copy = 0; copy < 2; ++copy)
        blocks.insert(blocks.end(), {{0, "INSERT"}, {8, "0"}, {2, "B" + std::to_string(k + 1)}});
    }
    blocks.push_back({0, "ENDBLK"});
  }
  return test::Drawing(entities, {}, blocks);
}

// The text that went out before the failure goes nowhere: not to standard output,
// and no file appears, nor any temporary one beside it.
void ExpectNothingWritten(const ToolRun& run, int32_t number, const std::string& words) {
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_TRUE(run.out.empty()) << run.out.size() << " bytes written";
  EXPECT_EQ(run.err, ErrorLine(number, words));
}

TEST_F(CliTest, BudgetRunningOutAfterTextWentOutWritesNothing) {
  test::TempFile f(LinesThenDoublingBlocks());
  TempDir dir;
  const std::string out = dir.File("out.txt");
  ExpectNothingWritten(RunTool({"--max-memory", "100M", f.Path()}), 7, "Out of memory");
  ExpectNothingWritten(RunTool({"--max-memory", "100M", "-o", out, f.Path()}), 7, "Out of memory");
  EXPECT_TRUE(std::filesystem::is_empty(dir.File("")));
}

#if !defined(__SANITIZE_ADDRESS__)
// The address sanitizer reserves far more address space than any cap allows, so
// this runs in builds without it. With the address space capped at 600 MB the
// allocator itself fails, well within the default budget.
TEST_F(CliTest, MemoryRunningOutAfterTextWentOutWritesNothing) {
  test::TempFile f(LinesThenDoublingBlocks());
  TempDir dir;
  const std::string out = dir.File("out.txt");
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &saved), 0);
  rlimit capped = saved;
  capped.rlim_cur = 600ull << 20;
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &capped), 0);
  // What the tool wrote is small enough to be read under the cap.
  const ToolRun toStdout = RunTool({f.Path()});
  const ToolRun toFile = RunTool({"-o", out, f.Path()});
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &saved), 0);
  ExpectNothingWritten(toStdout, 7, "Out of memory");
  ExpectNothingWritten(toFile, 7, "Out of memory");
  EXPECT_TRUE(std::filesystem::is_empty(dir.File("")));
}
#endif

// Tens of megabytes of text from a small drawing: a block of 1000 lines placed
// the given number of times.
std::string ManyPlacedLines(int placements) {
  std::vector<std::pair<int, std::string>> block{{0, "BLOCK"}, {2, "ROW"}, {10, "0"}};
  for (int i = 0; i < 1000; ++i) {
    const std::string x = std::to_string(i);
    block.insert(block.end(), {{0, "LINE"}, {8, "0"}, {10, x}, {11, x}, {21, "7.25"}});
  }
  block.push_back({0, "ENDBLK"});
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < placements; ++i) {
    entities.insert(entities.end(), {{0, "INSERT"}, {8, "0"}, {2, "ROW"}, {20, std::to_string(i)}});
  }
  return test::Drawing(entities, {}, block);
}

TEST_F(CliTest, LargeTextReachesStandardOutputAndFileWhole) {
  test::TempFile f(ManyPlacedLines(800));
  const ToolRun expected = Expected(f.Path(), test::ToolDefaults());
  // More than the tool holds in memory for standard output before it spills.
  ASSERT_GT(expected.out.size(), size_t{32} << 20);
  TempDir dir;
  const std::string out = dir.File("out.txt");
  const ToolRun toFile = RunTool({"-o", out, f.Path()});
  EXPECT_EQ(toFile.exitStatus, 0);
  EXPECT_TRUE(ReadFile(out) == expected.out);
  const ToolRun run = RunTool({f.Path()});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out.size(), expected.out.size());
  EXPECT_TRUE(run.out == expected.out);
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(CliTest, PeakMemoryDoesNotGrowWithTheText) {
  // 44 MB and 134 MB of text from two small drawings.
  TempDir dir;
  long peakKb[2] = {0, 0};
  const int placements[2] = {800, 2400};
  for (int k = 0; k < 2; ++k) {
    test::TempFile f(ManyPlacedLines(placements[k]));
    peakKb[k] = ToolPeakKb({"-o", dir.File("out.txt"), f.Path()});
    EXPECT_GT(std::filesystem::file_size(dir.File("out.txt")), placements[k] * 50000u);
  }
  std::printf("peak of the tool for 44 and 134 MB of text: %ld and %ld KB\n", peakKb[0], peakKb[1]);
  EXPECT_GT(peakKb[0], 0);
  EXPECT_LT(peakKb[1], 100L << 10);
  EXPECT_LT(peakKb[1], peakKb[0] + (16L << 10));
}
#endif

TEST_F(CliTest, SpillFileThatCanNotBeMadeFailsTheParse) {
  // Standard output holds 16 MB in memory; beyond, the text needs a temporary file
  // in TMPDIR. Without one the parse fails with 75, and nothing is written.
  test::TempFile f(ManyPlacedLines(400));
  const ToolRun run = RunProgram("env", {"TMPDIR=/nonexistent/vessik", kTool, f.Path()});
  ExpectNothingWritten(run, 75, "Path/File access error");
}

TEST_F(CliTest, FailedParseLeavesTheFileAsItWas) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  { std::ofstream(out) << "kept"; }
  test::TempFile f(LinesThenDoublingBlocks());
  ExpectNothingWritten(RunTool({"--max-memory", "100M", "-o", out, f.Path()}), 7, "Out of memory");
  EXPECT_EQ(ReadFile(out), "kept");
  // Only the file itself is there: the temporary text went with the failure.
  EXPECT_EQ(dir.Entries(), 1);
}

TEST_F(CliTest, SuccessfulParseReplacesTheFileWithUsualRights) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  { std::ofstream(out) << "old text that is longer than nothing"; }
  const ToolRun run = RunTool({"-o", out, kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_TRUE(ReadFile(out) == Expected(kShapes, test::ToolDefaults()).out);
  // The temporary file is made for its owner alone; the result is readable as any
  // file the tool makes.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  struct stat st {};
  ASSERT_EQ(::stat(out.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask);
  // Nothing else is left beside it: the old file went aside and is gone.
  EXPECT_EQ(dir.Entries(), 1);
}

TEST_F(CliTest, AnotherLinkToTheReplacedFileKeepsTheOldText) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  const std::string other = dir.File("other.txt");
  { std::ofstream(out) << "old"; }
  ASSERT_EQ(::link(out.c_str(), other.c_str()), 0);
  EXPECT_EQ(RunTool({"-o", out, kShapes}).exitStatus, 0);
  EXPECT_TRUE(ReadFile(out) == Expected(kShapes, test::ToolDefaults()).out);
  EXPECT_EQ(ReadFile(other), "old");
}

TEST_F(CliTest, DeviceAsOutputIsWrittenDirectly) {
  const ToolRun run = RunTool({"-o", "/dev/null", kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "");
}

TEST_F(CliTest, CurveThreadsChangeNothingInTheText) {
  // The example holds a spline and an ellipse among its shapes.
  const std::string& drawing = kShapes;
  const ToolRun expected = Expected(drawing, test::ToolDefaults());
  ASSERT_EQ(expected.exitStatus, 0);
  for (const char* threads : {"0", "1", "2", "5"}) {
    const ToolRun run = RunTool({"--curve-threads", threads, drawing});
    EXPECT_EQ(run.exitStatus, 0) << threads;
    EXPECT_TRUE(run.out == expected.out) << threads;
  }
  for (const char* bad : {"-1", "257", "two", ""}) {
    const ToolRun run = RunTool({"--curve-threads", bad, drawing});
    EXPECT_GT(run.exitStatus, 100) << bad;
    EXPECT_EQ(run.out, "") << bad;
    EXPECT_NE(run.err.find("--curve-threads"), std::string::npos) << bad;
  }
}

TEST_F(CliTest, ReadingInsteadOfMappingChangesNothingInTheText) {
  for (const std::string& drawing : {kShapes, std::string(VESSIK_EXAMPLES_DIR) + "/ellipse.dxf"}) {
    const ToolRun expected = Expected(drawing, test::ToolDefaults());
    ASSERT_EQ(expected.exitStatus, 0);
    const ToolRun run = RunTool({"--no-map", drawing});
    EXPECT_EQ(run.exitStatus, 0) << drawing;
    EXPECT_TRUE(run.out == expected.out) << drawing;
    EXPECT_EQ(run.err, "") << drawing;
  }
}

#if !defined(__SANITIZE_ADDRESS__)
// Four arcs of radius 1.6e6 under a slanted extrusion are cut into about four
// million segments, some 400 MB of text. With the tool's address space capped at
// 600 MB this text once could not be held and the tool failed with 7; handed on
// as it is made, it now arrives whole.
TEST_F(CliTest, TextLargerThanTheAddressSpaceCapArrivesWhole) {
  std::vector<std::pair<int, std::string>> arcs;
  for (const char* id : {"A", "B", "C", "D"}) {
    const std::vector<std::pair<int, std::string>> arc{
        {0, "ARC"},    {5, id},   {8, "0"},    {10, "0"},    {20, "0"},  {30, "0"},
        {40, "1.6e6"}, {50, "0"}, {51, "359"}, {210, "0.6"}, {220, "0"}, {230, "0.8"}};
    arcs.insert(arcs.end(), arc.begin(), arc.end());
  }
  test::TempFile f(test::Drawing(arcs));
  TempDir dir;
  const std::string out = dir.File("out.txt");
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_AS, &saved), 0);
  rlimit capped = saved;
  capped.rlim_cur = 600ull << 20;
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &capped), 0);
  const ToolRun run = RunTool({"-o", out, f.Path()});
  ASSERT_EQ(::setrlimit(RLIMIT_AS, &saved), 0);
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  const std::string expected = Expected(f.Path(), test::ToolDefaults()).out;
  EXPECT_GT(expected.size(), size_t{300} << 20);
  EXPECT_EQ(std::filesystem::file_size(out), expected.size());
  EXPECT_TRUE(ReadFile(out) == expected);
}
#endif

TEST_F(CliTest, FullDeviceAsOutputFails) {
  ToolRun run = RunTool({"-o", "/dev/full", kShapes});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, ErrorLine(75, "Path/File access error"));
}

TEST_F(CliTest, FifoAsDrawingFailsWithoutWaiting) {
  TempDir dir;
  const std::string fifo = dir.File("drawing.dxf");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ToolRun run = RunTool({"-o", dir.File("out.txt"), fifo});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, ErrorLine(75, "Path/File access error"));
  EXPECT_FALSE(std::filesystem::exists(dir.File("out.txt")));
}

TEST_F(CliTest, LayersOfShapes) {
  ToolRun run = RunTool({"--layers", kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "0\t7\t16777215\n"
            "CONTOUR\t1\t255\n"
            "HOLES\t5\t16711680\n"
            "CURVES\t3\t65280\n"
            "PARTS\t30\t33023\n");
  ExpectSame(run, Expected(kShapes, test::ToolDefaults(), true));
}

TEST_F(CliTest, LayersIncludeThoseAddedByEntities) {
  test::TempFile f(test::Drawing({{0, "INSERT"}, {5, "A"}, {8, "EXTRA"}, {2, "NONE"}},
                                 {{"0", 7}, {"WALLS", -3}}));
  ToolRun run = RunTool({"--layers", f.Path()});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "0\t7\t16777215\nWALLS\t-3\t65280\nEXTRA\t7\t16777215\n");
  ExpectSame(run, Expected(f.Path(), test::ToolDefaults(), true));
}

TEST_F(CliTest, LayersWithOutputFile) {
  TempDir dir;
  const std::string out = dir.File("layers.txt");
  ToolRun run = RunTool({"--layers", "-o", out, kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(ReadFile(out), Expected(kShapes, test::ToolDefaults(), true).out);
}

TEST_F(CliTest, ProgressValuesOfAnEmptyEntitiesSection) {
  test::TempFile f(test::Drawing({}, {{"0", 7}}));
  ToolRun run = RunTool({"--progress-values", f.Path()});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "62\n75\n50\n50\n");
}

TEST_F(CliTest, ProgressValuesAreThoseOfTheEvent) {
  Vessik_Parser parser;
  Vessik_CommonData settings = test::ToolDefaults();
  Vessik_Progress progress;
  std::string values;
  progress.Connect([&](int32_t v) { values += std::to_string(v) + "\n"; });
  const std::string text = parser.Parse2(kShapes, settings, progress);
  ToolRun run = RunTool({"--progress-values", kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_TRUE(run.out == text);
  EXPECT_EQ(run.err, values);
}

TEST_F(CliTest, NoProgressOnStderrWhenItIsNoTerminal) {
  ToolRun run = RunTool({kShapes});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
}

TEST_F(CliTest, MissingFile) {
  TempDir dir;
  ToolRun run = RunTool({dir.File("missing.dxf")});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "vessik: error 53 (0x00000035): File not found\n");
}

TEST_F(CliTest, FileThatIsNoDrawing) {
  test::TempFile f("Just some words,\nno drawing at all.\n", "notes.txt");
  ToolRun run = RunTool({f.Path()});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "vessik: error -2147221503 (0x80040001): SECTION tag not found. DXF file is "
            "invalid.\n");
}

TEST_F(CliTest, TextAsLayerColour) {
  test::TempFile f(test::DxfText({{0, "SECTION"},
                                  {2, "TABLES"},
                                  {0, "TABLE"},
                                  {2, "LAYER"},
                                  {0, "LAYER"},
                                  {2, "WALLS"},
                                  {62, "red"},
                                  {0, "ENDTAB"},
                                  {0, "ENDSEC"},
                                  {0, "SECTION"},
                                  {2, "ENTITIES"},
                                  {0, "ENDSEC"},
                                  {0, "EOF"}}));
  ToolRun run = RunTool({"--progress-values", f.Path()});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "vessik: error 13 (0x0000000D): Type mismatch\n");
}

TEST_F(CliTest, TextAsEntityColour) {
  test::TempFile f(test::Drawing(
      {{0, "LINE"}, {5, "2A"}, {8, "0"}, {62, "red"}, {10, "0"}, {20, "0"}, {11, "1"}, {21, "1"}},
      {{"0", 7}}));
  const ToolRun expected = Expected(f.Path(), test::ToolDefaults());
  ExpectSame(RunTool({f.Path()}), expected);
  EXPECT_EQ(expected.exitStatus, 1);
  EXPECT_EQ(expected.err, "vessik: error 13 (0x0000000D): Type mismatch\n");
}

TEST_F(CliTest, EmptyFileAndFolderFailAsParse2Does) {
  test::TempFile empty("", "empty.dxf");
  ExpectSame(RunTool({empty.Path()}), Expected(empty.Path(), test::ToolDefaults()));
  TempDir dir;
  std::filesystem::create_directories(dir.File("folder.dxf"));
  const ToolRun folder = RunTool({dir.File("folder.dxf")});
  ExpectSame(folder, Expected(dir.File("folder.dxf"), test::ToolDefaults()));
  EXPECT_EQ(folder.exitStatus, 1);
}

TEST_F(CliTest, DrawingWithoutEntitiesSectionFails) {
  test::TempFile f(test::DxfText({{0, "SECTION"}, {2, "HEADER"}, {0, "ENDSEC"}, {0, "EOF"}}));
  const ToolRun run = RunTool({f.Path()});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "vessik: error 91 (0x0000005B): Object variable or With block variable not set\n");
}

TEST_F(CliTest, CarriageReturnsPassUnchanged) {
  // A layer name with a carriage return in it, read from a drawing with CR LF
  // line ends, goes through --layers byte for byte.
  const std::string text = test::DxfText({{0, "SECTION"},
                                          {2, "TABLES"},
                                          {0, "TABLE"},
                                          {2, "LAYER"},
                                          {0, "LAYER"},
                                          {2, "A\tB"},
                                          {62, "1"},
                                          {0, "ENDTAB"},
                                          {0, "ENDSEC"},
                                          {0, "SECTION"},
                                          {2, "ENTITIES"},
                                          {0, "ENDSEC"},
                                          {0, "EOF"}},
                                         "\r\n");
  test::TempFile f(text);
  const ToolRun run = RunTool({"--layers", f.Path()});
  EXPECT_EQ(run.exitStatus, 0);
  ExpectSame(run, Expected(f.Path(), test::ToolDefaults(), true));
}

TEST_F(CliTest, HelpNamesEveryOption) {
  const ToolRun run = RunTool({"--help"});
  EXPECT_EQ(run.exitStatus, 0);
  for (const char* flag :
       {"--tolerance", "--check", "--arc-max-deviation", "--arc-min-segment-length",
        "--arc-max-segment-length", "--initial-segments", "--layers", "--progress-values",
        "--output", "--max-memory", "--timeout", "--curve-threads", "--no-map", "DRAWING"}) {
    EXPECT_NE(run.out.find(flag), std::string::npos) << flag;
  }
}

TEST_F(CliTest, UsageErrorsUseTheParserCodes) {
  const ToolRun none = RunTool({});
  EXPECT_NE(none.exitStatus, 0);
  EXPECT_NE(none.exitStatus, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_NE(none.err.find("DRAWING"), std::string::npos);

  const ToolRun unknown = RunTool({"--no-such-flag", kShapes});
  EXPECT_NE(unknown.exitStatus, 0);
  EXPECT_NE(unknown.exitStatus, 1);
  EXPECT_EQ(unknown.out, "");

  const ToolRun notANumber = RunTool({"--tolerance", "fine", kShapes});
  EXPECT_NE(notANumber.exitStatus, 0);
  EXPECT_NE(notANumber.exitStatus, 1);
  EXPECT_EQ(notANumber.out, "");
}

TEST_F(CliTest, MaxMemoryBelowWhatTheDrawingNeedsFailsWith7) {
  TempDir dir;
  const std::string out = dir.File("out.txt");
  for (const char* size : {"1K", "1k", "2000"}) {
    const ToolRun run = RunTool({"--max-memory", size, "-o", out, kShapes});
    EXPECT_EQ(run.exitStatus, 1) << size;
    EXPECT_EQ(run.err, ErrorLine(7, "Out of memory")) << size;
    EXPECT_FALSE(std::filesystem::exists(out)) << size;
  }
}

TEST_F(CliTest, MaxMemoryBoundsWhatTheToolHolds) {
  // 2^29 lines from 30 levels of blocks: the parse stops at the budget, and the
  // tool never holds much more than it.
  test::TempFile f(test::DoublingBlocks(30));
  const ToolRun run = RunTool({"--max-memory", "200M", f.Path()});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, ErrorLine(7, "Out of memory"));
  std::printf("peak of the tool with --max-memory 200M: %ld KB\n", run.peakKb);
#if !defined(__SANITIZE_ADDRESS__)
  // The sanitizer's own bookkeeping is no part of the budget.
  EXPECT_LT(run.peakKb, 240L << 10);
#endif
}

TEST_F(CliTest, MaxMemoryThatSufficesChangesNothing) {
  const ToolRun expected = Expected(kShapes, test::ToolDefaults());
  for (const char* size : {"64M", "64m", "1G", "1g", "0", "67108864"}) {
    const ToolRun run = RunTool({"--max-memory", size, kShapes});
    EXPECT_EQ(run.exitStatus, 0) << size;
    EXPECT_TRUE(run.out == expected.out) << size;
  }
}

TEST_F(CliTest, MaxMemoryThatIsNoSizeIsAUsageError) {
  for (const char* size :
       {"", "12Q", "1.5G", "-1", "G", "1KB", "99999999999999999999", "17179869184G"}) {
    const ToolRun run = RunTool({"--max-memory", size, kShapes});
    EXPECT_GT(run.exitStatus, 100) << size;
    EXPECT_EQ(run.out, "") << size;
    EXPECT_NE(run.err.find("--max-memory"), std::string::npos) << size;
  }
}

TEST_F(CliTest, TimeoutStopsALongParseAndWritesNothing) {
  // 2^29 lines from 30 levels of blocks that each hold the next twice: without the
  // timeout this would take many minutes and hundreds of gigabytes.
  test::TempFile f(test::DoublingBlocks(30));
  TempDir dir;
  const std::string out = dir.File("out.txt");
  const auto start = std::chrono::steady_clock::now();
  const ToolRun run = RunTool({"--timeout", "0.5", "-o", out, f.Path()});
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start);
  EXPECT_EQ(run.exitStatus, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "vessik: timed out after 0.5 seconds; nothing written\n");
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_LT(seconds.count(), 10.0);
}

TEST_F(CliTest, TimeoutNotReachedChangesNothing) {
  const ToolRun expected = Expected(kShapes, test::ToolDefaults());
  for (const char* seconds : {"60", "0"}) {
    const ToolRun run = RunTool({"--timeout", seconds, kShapes});
    EXPECT_EQ(run.exitStatus, 0) << seconds;
    EXPECT_TRUE(run.out == expected.out) << seconds;
  }
  const ToolRun negative = RunTool({"--timeout", "-1", kShapes});
  EXPECT_GT(negative.exitStatus, 100);
}

}  // namespace
}  // namespace vessik
