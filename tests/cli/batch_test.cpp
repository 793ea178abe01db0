// Runs "vessik batch" on folders of drawings and holds every file it writes, and
// every line it prints, against what Parse2 gives in process for the same
// drawings and settings.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cli/ToolFiles.h"
#include "host/svg/RecordsSvg.h"
#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Hostile.h"
#include "support/Settings.h"

extern char** environ;

namespace vessik {
namespace {

namespace fs = std::filesystem;

using test::kShapes;
using test::kTool;
using test::ReadFile;

void WriteFile(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary);
  out << bytes;
}

void CopyFile(const std::string& from, const fs::path& to) {
  WriteFile(to, ReadFile(from));
}

// A fresh folder for the files of one test, removed at its end.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (fs::temp_directory_path() / "vessik-batch-XXXXXX").string();
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (::mkdtemp(buf.data()) != nullptr) path_ = buf.data();
  }
  ~TempDir() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// What one run of the tool left behind.
struct ToolRun {
  int exitStatus = -1;
  std::string out;
  std::string err;
};

// Runs the tool with the arguments in the folder cwd (empty: this one), standard
// output and error going to files, or standard error to the terminal side of a
// pseudo-terminal whose other side is read into err.
ToolRun RunTool(const std::vector<std::string>& args, const std::string& cwd = {},
                bool errToTerminal = false) {
  ToolRun run;
  TempDir dir;
  const std::string outPath = dir.File("stdout");
  const std::string errPath = dir.File("stderr");
  std::vector<std::string> argv{kTool};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargv;
  for (auto& a : argv) cargv.push_back(a.data());
  cargv.push_back(nullptr);

  int master = -1;
  int slave = -1;
  if (errToTerminal && ::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
    ADD_FAILURE() << "no pseudo-terminal";
    return run;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (errToTerminal) {
    posix_spawn_file_actions_adddup2(&actions, slave, STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, master);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
  }
  pid_t pid = 0;
  const int rc = ::posix_spawn(&pid, kTool, &actions, nullptr, cargv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (errToTerminal) ::close(slave);
  if (rc != 0) {
    if (errToTerminal) ::close(master);
    ADD_FAILURE() << "cannot start " << kTool;
    return run;
  }
  if (errToTerminal) {
    // Read until the tool closes its side: read then fails with EIO.
    char buf[4096];
    for (;;) {
      const ssize_t n = ::read(master, buf, sizeof buf);
      if (n > 0) {
        run.err.append(buf, static_cast<size_t>(n));
      } else if (n < 0 && errno == EINTR) {
        continue;
      } else {
        break;
      }
    }
    ::close(master);
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
  }
  run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.out = ReadFile(outPath);
  if (!errToTerminal) run.err = ReadFile(errPath);
  return run;
}

// "error NUMBER (0xHEX): DESCRIPTION", as the tool tells a failure.
std::string ErrorText(int32_t number, const std::string& description) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08X", static_cast<unsigned>(static_cast<uint32_t>(number)));
  return "error " + std::to_string(number) + " (0x" + hex + "): " + description;
}

// What Parse2 gives in process for the drawing: the text, or the failure.
struct Outcome {
  bool failed = false;
  int32_t number = 0;
  std::string text;  // the records, or the failure as the tool words it
};

Outcome ParseInProcess(const std::string& path, Vessik_CommonData settings) {
  Outcome o;
  Vessik_Parser parser;
  Vessik_Progress progress;
  try {
    o.text = parser.Parse2(path, settings, progress);
  } catch (const Vessik_Error& e) {
    o.failed = true;
    o.number = e.Number();
    o.text = ErrorText(e.Number(), e.Description());
  }
  return o;
}

// Every file and folder below the folder, hidden ones included, by path below it;
// a file maps to its bytes, a folder to "/".
std::map<std::string, std::string> Tree(const std::string& folder) {
  std::map<std::string, std::string> tree;
  std::error_code ec;
  if (!fs::exists(folder, ec)) return tree;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string relative = entry.path().lexically_relative(folder).generic_string();
    tree[relative] = entry.is_directory() ? "/" : ReadFile(entry.path().string());
  }
  return tree;
}

std::string Summary(size_t total, size_t converted) {
  return "vessik: " + std::to_string(total) + (total == 1 ? " drawing: " : " drawings: ") +
         std::to_string(converted) + " converted, " + std::to_string(total - converted) +
         " failed\n";
}

// Without the corpus's binary drawing: a file of binary bytes (NUL-separated
// groups behind a sentinel line), which reads as no text drawing either.
std::string BinaryDrawing() {
  std::string bytes("Binary drawing\r\n\x1a\0", 18);
  bytes += std::string("\0SECTION\0\x02HEADER\0\0ENDSEC\0\0EOF\0", 30);
  return bytes;
}

// A folder of drawings of every kind the batch meets, and what it must make of
// each, in the order it must report them.
struct MixedFolder {
  struct Drawing {
    std::string path;      // as the tool names it
    std::string relative;  // its result's path below the output folder, when converted
  };
  std::string root;
  std::vector<Drawing> drawings;
  bool withCorpus = false;
};

MixedFolder MakeMixedFolder(const TempDir& dir) {
  MixedFolder m;
  m.root = dir.File("in");
  const fs::path in(m.root);
  const std::string corpus = test::CorpusDir();
  const std::string binary = corpus + "/ezdxf/integration_tests__data__bin_dxf_r12.dxf";
  const std::string rectangle = corpus + "/dxf-npm/test__resources__1x1rectangle.dxf";
  const std::string lines = corpus + "/ezdxf/integration_tests__data__AC1003_LINE_Example.dxf";
  m.withCorpus =
      fs::is_regular_file(binary) && fs::is_regular_file(rectangle) && fs::is_regular_file(lines);

  if (m.withCorpus) {
    CopyFile(binary, in / "binary.dxf");
    CopyFile(lines, in / "lines.dxf");
    CopyFile(rectangle, in / "sub/deeper/rect.dxf");
  } else {
    WriteFile(in / "binary.dxf", BinaryDrawing());
  }
  const std::string shapes = ReadFile(kShapes);
  // Cut short inside the header: the drawing has no ENTITIES section left.
  WriteFile(in / "damaged.dxf", shapes.substr(0, 1000));
  CopyFile(kShapes, in / "shapes.dxf");
  CopyFile(kShapes, in / "sub/Shapes Upper.DXF");
  // A folder whose name ends in .dxf is walked, not read.
  CopyFile(kShapes, in / "walked.dxf/inner.dxf");
  // No drawings, whatever they hold.
  CopyFile(kShapes, in / "shapes.dxf.bak");
  WriteFile(in / "notes.txt", "not a drawing\n");
  WriteFile(in / "sub/readme", "nor this\n");

  // In the order of their paths below the folder, byte by byte.
  const auto add = [&m](const std::string& relative, const std::string& result) {
    m.drawings.push_back({(fs::path(m.root) / relative).string(), result});
  };
  add("binary.dxf", "binary.txt");
  add("damaged.dxf", "damaged.txt");
  if (m.withCorpus) add("lines.dxf", "lines.txt");
  add("shapes.dxf", "shapes.txt");
  add("sub/Shapes Upper.DXF", "sub/Shapes Upper.txt");
  if (m.withCorpus) add("sub/deeper/rect.dxf", "sub/deeper/rect.txt");
  add("walked.dxf/inner.dxf", "walked.dxf/inner.txt");
  return m;
}

// What the tool must leave for the drawings: the files of the converted ones and
// the folders they need, and the failure lines of the others.
struct Expectation {
  std::map<std::string, std::string> tree;
  std::string failureLines;
  size_t converted = 0;
};

void Expect(Expectation& e, const std::string& path, const std::string& relative,
            const Vessik_CommonData& settings) {
  const Outcome o = ParseInProcess(path, settings);
  if (o.failed) {
    e.failureLines += "vessik: " + path + ": " + o.text + "\n";
    return;
  }
  ++e.converted;
  e.tree[relative] = o.text;
  for (fs::path p = fs::path(relative).parent_path(); !p.empty(); p = p.parent_path()) {
    e.tree[p.generic_string()] = "/";
  }
}

Expectation ExpectedFor(const MixedFolder& m, const Vessik_CommonData& settings) {
  Expectation e;
  for (const auto& d : m.drawings) Expect(e, d.path, d.relative, settings);
  return e;
}

void ExpectTree(const std::map<std::string, std::string>& actual,
                const std::map<std::string, std::string>& expected) {
  std::vector<std::string> actualNames;
  std::vector<std::string> expectedNames;
  for (const auto& [name, bytes] : actual) actualNames.push_back(name);
  for (const auto& [name, bytes] : expected) expectedNames.push_back(name);
  EXPECT_EQ(actualNames, expectedNames);
  for (const auto& [name, bytes] : expected) {
    const auto it = actual.find(name);
    if (it == actual.end()) continue;
    EXPECT_TRUE(it->second == bytes) << name << " differs from Parse2's text";
    EXPECT_EQ(it->second.size(), bytes.size()) << name;
  }
}

class BatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (kTool == nullptr) VESSIK_SKIP_OR_FAIL("the tool is not built");
  }
};

TEST_F(BatchTest, MixedFolderWithDirectDrawings) {
  TempDir dir;
  const MixedFolder m = MakeMixedFolder(dir);
  if (!m.withCorpus) std::printf("corpus absent: its drawings are left out of the folder\n");
  // Named directly: a drawing of another extension, one whose result the folder's
  // shapes.dxf has claimed already, and one that does not exist.
  const std::string other = dir.File("other/part.drawing");
  CopyFile(kShapes, other);
  const std::string twin = dir.File("twin/shapes.dxf");
  CopyFile(kShapes, twin);
  const std::string missing = dir.File("missing.dxf");
  const std::string out = dir.File("out");

  const ToolRun run = RunTool({"batch", "-j", "2", "-o", out, m.root, other, twin, missing});

  Expectation e = ExpectedFor(m, test::ToolDefaults());
  Expect(e, other, "part.txt", test::ToolDefaults());
  e.failureLines += "vessik: " + twin + ": not converted: " + out +
                    "/shapes.txt is the result of " + dir.File("in/shapes.dxf") + "\n";
  e.failureLines +=
      "vessik: " + missing + ": " + ErrorText(errnum::FileNotFound, "File not found") + "\n";
  const size_t total = m.drawings.size() + 3;

  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, e.failureLines + Summary(total, e.converted));
  // No temporary file is left: the tree holds exactly the results.
  ExpectTree(Tree(out), e.tree);

  // The failures the folder must hold, whatever Parse2 is held to elsewhere.
  const std::string binaryLine =
      "vessik: " + m.root + "/binary.dxf: error " + std::to_string(errnum::SectionNotFound);
  const std::string damagedLine =
      "vessik: " + m.root + "/damaged.dxf: " +
      ErrorText(errnum::ObjectNotSet, "Object variable or With block variable not set");
  if (m.withCorpus) {
    EXPECT_NE(run.err.find(binaryLine), std::string::npos) << run.err;
  }
  EXPECT_NE(run.err.find(damagedLine), std::string::npos) << run.err;
  EXPECT_EQ(e.converted, m.drawings.size() - 2 + 1);
}

TEST_F(BatchTest, OneJobAndThreeJobsGiveTheSameResults) {
  TempDir dir;
  const MixedFolder m = MakeMixedFolder(dir);
  const std::string missing = dir.File("missing.dxf");
  const ToolRun one = RunTool({"batch", "-j", "1", "-o", dir.File("one"), m.root, missing});
  const ToolRun three =
      RunTool({"batch", "--jobs", "3", "--output-dir", dir.File("three"), m.root, missing});
  EXPECT_EQ(one.exitStatus, 1);
  EXPECT_EQ(three.exitStatus, 1);
  EXPECT_EQ(one.err, three.err);
  const auto oneTree = Tree(dir.File("one"));
  ExpectTree(Tree(dir.File("three")), oneTree);
  Expectation e = ExpectedFor(m, test::ToolDefaults());
  ExpectTree(oneTree, e.tree);
}

TEST_F(BatchTest, ReadingInsteadOfMappingGivesTheSameResults) {
  TempDir dir;
  const MixedFolder m = MakeMixedFolder(dir);
  const ToolRun mapped = RunTool({"batch", "-o", dir.File("mapped"), m.root});
  const ToolRun read = RunTool({"batch", "--no-map", "-o", dir.File("read"), m.root});
  EXPECT_EQ(read.exitStatus, mapped.exitStatus);
  EXPECT_EQ(read.err, mapped.err);
  ExpectTree(Tree(dir.File("read")), Tree(dir.File("mapped")));
  ExpectTree(Tree(dir.File("read")), ExpectedFor(m, test::ToolDefaults()).tree);
}

TEST_F(BatchTest, EverySettingReachesEveryDrawing) {
  TempDir dir;
  const MixedFolder m = MakeMixedFolder(dir);
  Vessik_CommonData d;
  d.Tolerance = 0.5;
  d.Check = 1;
  d.ArcMaximumDeviationFactor = 0.25;
  d.ArcMinimumSegmentLengthFactor = 0.5;
  d.ArcMaximumSegmentLengthFactor = 3;
  d.InitialSegments = 7;
  const std::string out = dir.File("out");
  const ToolRun run = RunTool({"batch", "--tolerance",
                               "0.5",   "--check",
                               "1",     "--arc-max-deviation",
                               "0.25",  "--arc-min-segment-length",
                               "0.5",   "--arc-max-segment-length",
                               "3",     "--initial-segments",
                               "7",     "--max-memory",
                               "1G",    "--timeout",
                               "600",   "-o",
                               out,     m.root});
  const Expectation e = ExpectedFor(m, d);
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, e.failureLines + Summary(m.drawings.size(), e.converted));
  ExpectTree(Tree(out), e.tree);
  // The settings made a difference somewhere.
  EXPECT_NE(e.tree.at("shapes.txt"), ParseInProcess(kShapes, test::ToolDefaults()).text);
}

TEST_F(BatchTest, AllConvertedExitsZero) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  CopyFile(kShapes, dir.File("in/b/c.Dxf"));
  const std::string out = dir.File("out");
  const ToolRun run = RunTool({"batch", "-o", out, dir.File("in")});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, Summary(2, 2));
  const std::string text = ParseInProcess(kShapes, test::ToolDefaults()).text;
  ExpectTree(Tree(out), {{"a.txt", text}, {"b", "/"}, {"b/c.txt", text}});
}

TEST_F(BatchTest, ResultsReplaceThoseOfAnEarlierRun) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  const std::string out = dir.File("out");
  WriteFile(dir.File("out/a.txt"), "stale");
  const ToolRun run = RunTool({"batch", "-o", out, dir.File("in")});
  EXPECT_EQ(run.exitStatus, 0);
  ExpectTree(Tree(out), {{"a.txt", ParseInProcess(kShapes, test::ToolDefaults()).text}});
}

TEST_F(BatchTest, FolderWithoutDrawingsIsNoFailure) {
  TempDir dir;
  WriteFile(dir.File("in/notes.txt"), "no drawing\n");
  fs::create_directories(dir.File("in/empty"));
  const std::string out = dir.File("out");
  const ToolRun run = RunTool({"batch", "-o", out, dir.File("in")});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, Summary(0, 0));
  EXPECT_TRUE(Tree(out).empty());
}

TEST_F(BatchTest, MissingOutputFolderIsAUsageError) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  const ToolRun run = RunTool({"batch", dir.File("in")});
  EXPECT_GT(run.exitStatus, 100);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("--output-dir"), std::string::npos) << run.err;

  const ToolRun noDrawings = RunTool({"batch", "-o", dir.File("out")});
  EXPECT_GT(noDrawings.exitStatus, 100);
  const ToolRun noJobs = RunTool({"batch", "-j", "0", "-o", dir.File("out"), dir.File("in")});
  EXPECT_GT(noJobs.exitStatus, 100);
  EXPECT_FALSE(fs::exists(dir.File("out")));
}

TEST_F(BatchTest, OutputFolderThatIsAFileFailsEachDrawingWith75) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  CopyFile(kShapes, dir.File("in/b.dxf"));
  WriteFile(dir.File("out"), "a file");
  const ToolRun run = RunTool({"batch", "-o", dir.File("out"), dir.File("in")});
  const std::string error = ErrorText(errnum::PathFileAccess, "Path/File access error");
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, "vessik: " + dir.File("in/a.dxf") + ": " + error +
                         "\nvessik: " + dir.File("in/b.dxf") + ": " + error + "\n" + Summary(2, 0));
  EXPECT_EQ(ReadFile(dir.File("out")), "a file");
}

TEST_F(BatchTest, ResultThatCannotTakeItsPlaceLeavesNothingBehind) {
  // A folder stands where a.txt must go: the text is written to its temporary
  // file, the rename fails, and the temporary file is removed again.
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  CopyFile(kShapes, dir.File("in/b.dxf"));
  fs::create_directories(dir.File("out/a.txt"));
  const ToolRun run = RunTool({"batch", "-o", dir.File("out"), dir.File("in")});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, "vessik: " + dir.File("in/a.dxf") + ": " +
                         ErrorText(errnum::PathFileAccess, "Path/File access error") + "\n" +
                         Summary(2, 1));
  ExpectTree(Tree(dir.File("out")),
             {{"a.txt", "/"}, {"b.txt", ParseInProcess(kShapes, test::ToolDefaults()).text}});
}

TEST_F(BatchTest, MaxMemoryHoldsForEachDrawing) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  CopyFile(kShapes, dir.File("in/b.dxf"));
  const ToolRun run =
      RunTool({"batch", "-j", "2", "--max-memory", "1K", "-o", dir.File("out"), dir.File("in")});
  const std::string error = ErrorText(errnum::OutOfMemory, "Out of memory");
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, "vessik: " + dir.File("in/a.dxf") + ": " + error +
                         "\nvessik: " + dir.File("in/b.dxf") + ": " + error + "\n" + Summary(2, 0));
  EXPECT_TRUE(Tree(dir.File("out")).empty());
}

TEST_F(BatchTest, TimeoutFailsOnlyTheSlowDrawing) {
  // 2^29 lines from 30 levels of blocks: without the timeout this would take
  // many minutes.
  TempDir dir;
  WriteFile(dir.File("in/a-slow.dxf"), test::DoublingBlocks(30));
  CopyFile(kShapes, dir.File("in/b.dxf"));
  const std::string out = dir.File("out");
  const ToolRun run = RunTool({"batch", "-j", "1", "--timeout", "0.5", "-o", out, dir.File("in")});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.err, "vessik: " + dir.File("in/a-slow.dxf") + ": timed out after 0.5 seconds\n" +
                         Summary(2, 1));
  ExpectTree(Tree(out), {{"b.txt", ParseInProcess(kShapes, test::ToolDefaults()).text}});
}

TEST_F(BatchTest, DrawingNamedBatchIsReadThroughItsPath) {
  TempDir dir;
  CopyFile(kShapes, dir.File("batch"));
  const ToolRun run = RunTool({"./batch"}, dir.File(""));
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_TRUE(run.out == ParseInProcess(kShapes, test::ToolDefaults()).text);
  EXPECT_EQ(run.err, "");
}

TEST_F(BatchTest, HelpNamesEveryOption) {
  const ToolRun run = RunTool({"batch", "--help"});
  EXPECT_EQ(run.exitStatus, 0);
  for (const char* flag :
       {"--output-dir", "--jobs", "--svg", "--tolerance", "--check", "--arc-max-deviation",
        "--arc-min-segment-length", "--arc-max-segment-length", "--initial-segments",
        "--max-memory", "--timeout", "--no-map", "DRAWING_OR_FOLDER"}) {
    EXPECT_NE(run.out.find(flag), std::string::npos) << flag;
  }
  EXPECT_NE(RunTool({"--help"}).out.find("vessik batch"), std::string::npos);
}

TEST_F(BatchTest, ProgressBarOnATerminalIsErasedBeforeTheReport) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  const ToolRun run = RunTool({"batch", "-o", dir.File("out"), dir.File("in")}, {}, true);
  EXPECT_EQ(run.exitStatus, 0);
  // The terminal turns each line feed into CR LF.
  const std::string summary = "vessik: 1 drawing: 1 converted, 0 failed\r\n";
  ASSERT_GE(run.err.size(), summary.size());
  EXPECT_EQ(run.err.substr(run.err.size() - summary.size()), summary);
  EXPECT_EQ(run.err.find("\rvessik ["), 0u) << run.err;
  EXPECT_NE(run.err.find("\r\033[K" + summary), std::string::npos) << run.err;
}

// The picture of the records as the library draws it, for the tool's --svg.
std::string SvgInProcess(const std::string& path) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  const Vessik_Records records = ParseRecords(parser, path, data, progress);
  return RecordsSvg(records, parser.Layers());
}

TEST_F(BatchTest, SvgOfOneDrawingIsTheLibrarysPicture) {
  const ToolRun run = RunTool({"--svg", kShapes});
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(run.out == SvgInProcess(kShapes));
  EXPECT_EQ(run.out.rfind("<?xml", 0), 0u);
  EXPECT_EQ(RunTool({"--svg", "--layers", kShapes}).exitStatus > 100, true);
}

TEST_F(BatchTest, SvgOfABatchGivesOneSvgPerDrawing) {
  TempDir dir;
  CopyFile(kShapes, dir.File("in/a.dxf"));
  CopyFile(kShapes, dir.File("in/b/c.DXF"));
  WriteFile(dir.File("in/broken.dxf"), "0\nSECTION\n");
  const std::string out = dir.File("out");
  const ToolRun run = RunTool({"batch", "--svg", "-o", out, dir.File("in")});
  EXPECT_EQ(run.exitStatus, 1) << run.err;
  const std::string svg = SvgInProcess(kShapes);
  ExpectTree(Tree(out), {{"a.svg", svg}, {"b", "/"}, {"b/c.svg", svg}});
}

}  // namespace
}  // namespace vessik
