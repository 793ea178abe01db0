#include <gtest/gtest.h>
#ifdef __linux__
#include <sys/mman.h>
#endif

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "parser/LargeMemory.h"
#include "parser/ParseLimits.h"
#include "parser/parser.h"
#include "support/Hostile.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Clock = std::chrono::steady_clock;

// Restores this thread's budget setting when the test ends.
struct BudgetSetting {
  explicit BudgetSetting(uint64_t bytes) { SetMemoryBudget(bytes); }
  ~BudgetSetting() { SetMemoryBudget(0); }
};

std::string Parse(const std::string& text, Vessik_Progress& progress) {
  test::TempFile f(text);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  return parser.Parse2(f.Path(), data, progress);
}

std::string Parse(const std::string& text) {
  Vessik_Progress progress;
  return Parse(text, progress);
}

int32_t ParseFailure(const std::string& text) {
  return test::FailureNumber([&] { Parse(text); });
}

TEST(ParseLimits, ChargesUpToTheBudgetAndNoFurther) {
  ParseLimits limits(1000, nullptr);
  limits.Charge(600);
  limits.Charge(400);
  EXPECT_EQ(limits.Used(), 1000);
  EXPECT_THROW(limits.Charge(1), std::bad_alloc);
  EXPECT_FALSE(limits.TryCharge(1));
  // A refused charge is not counted.
  EXPECT_EQ(limits.Used(), 1000);
  limits.Refund(500);
  EXPECT_EQ(limits.Used(), 500);
  EXPECT_TRUE(limits.TryCharge(500));
  limits.Refund(500);
  EXPECT_THROW(limits.Charge(SIZE_MAX), std::bad_alloc);
  EXPECT_EQ(limits.Used(), 500);
}

TEST(ParseLimits, FreesOfForeignMemoryDoNotLendBudget) {
  ParseLimits limits(100, nullptr);
  limits.Refund(1000);
  EXPECT_EQ(limits.Used(), -1000);
  // Counted from 0, not from below it.
  EXPECT_THROW(limits.Charge(101), std::bad_alloc);
  limits.Charge(100);
}

TEST(ParseLimits, SeesTheCancelFlagOfItsProgress) {
  Vessik_Progress progress;
  ParseLimits limits(1, &progress);
  EXPECT_FALSE(limits.Canceled());
  EXPECT_FALSE(limits.CanceledAtStart());
  progress.IsCanceled(true);
  EXPECT_TRUE(limits.Canceled());
  EXPECT_FALSE(limits.CanceledAtStart());
  ParseLimits later(1, &progress);
  EXPECT_TRUE(later.CanceledAtStart());
  EXPECT_FALSE(ParseLimits(1, nullptr).Canceled());
}

TEST(ParseLimits, OutsideAParseNothingIsCountedOrPolled) {
  ASSERT_EQ(CurrentParseLimits(), nullptr);
  ChargeMemory(SIZE_MAX);
  RefundMemory(SIZE_MAX);
  PollCancel();
  PollCancelWhileLoading();
}

TEST(ParseLimits, ScopesNestAndPutBackTheOuterLimits) {
  Vessik_Progress canceled;
  canceled.IsCanceled(true);
  ParseLimits outer(100, nullptr);
  ParseLimits inner(50, &canceled);
  {
    ParseLimitsScope a(&outer);
    ChargeMemory(10);
    {
      ParseLimitsScope b(&inner);
      EXPECT_EQ(CurrentParseLimits(), &inner);
      ChargeMemory(20);
      EXPECT_THROW(PollCancel(), ParseCanceled);
      // Set before the parse began: left to the first top-level item.
      PollCancelWhileLoading();
    }
    EXPECT_EQ(CurrentParseLimits(), &outer);
    PollCancel();
  }
  EXPECT_EQ(CurrentParseLimits(), nullptr);
  EXPECT_EQ(outer.Used(), 10);
  EXPECT_EQ(inner.Used(), 20);
}

TEST(ParseLimits, ACancelThatComesWhileLoadingStopsTheLoad) {
  Vessik_Progress progress;
  ParseLimits limits(1, &progress);
  ParseLimitsScope scope(&limits);
  PollCancelWhileLoading();
  progress.IsCanceled(true);
  EXPECT_THROW(PollCancelWhileLoading(), ParseCanceled);
}

TEST(BudgetAllocator, ChargesWhatAContainerHolds) {
  ParseLimits limits(1 << 20, nullptr);
  {
    ParseLimitsScope scope(&limits);
    BudgetVector<double> v;
    v.reserve(1000);
    // With the allocator's header, 8000 + 8 rounded up to 16; the thread has taken
    // a slice more for the charges to come.
    EXPECT_EQ(limits.Used(), static_cast<int64_t>(8016 + kChargeSlice));
    EXPECT_THROW(v.reserve(1 << 20), std::bad_alloc);
    EXPECT_EQ(v.capacity(), 1000u);
    EXPECT_EQ(limits.Used(), static_cast<int64_t>(8016 + kChargeSlice));
  }
  // The scope's end gives the credit back.
  EXPECT_EQ(limits.Used(), 0);
}

// A list as long as a large drawing's items takes a block of its own, aligned for
// huge pages, and counts its size.
TEST(BudgetAllocator, LargeBlocksAreAlignedForHugePagesAndChargedTheirSize) {
  ParseLimits limits(64 << 20, nullptr);
  {
    ParseLimitsScope scope(&limits);
    BudgetVector<double> v;
    v.reserve(kLargeBlock / sizeof(double));
    EXPECT_EQ(limits.Used(), static_cast<int64_t>(kLargeBlock + kChargeSlice));
#ifdef __linux__
    EXPECT_EQ(reinterpret_cast<uintptr_t>(v.data()) % (2 * kLargeBlock), 0u);
#endif
    v.assign(v.capacity(), 1.5);
    EXPECT_EQ(v.back(), 1.5);
    EXPECT_THROW(v.reserve(size_t{8} << 20), std::bad_alloc);
    EXPECT_EQ(limits.Used(), static_cast<int64_t>(kLargeBlock + kChargeSlice));
    v = BudgetVector<double>();
    EXPECT_LE(limits.Used(), static_cast<int64_t>(2 * kChargeSlice));
  }
  EXPECT_EQ(limits.Used(), 0);
}

// Pages made ready keep what they hold; those never written read as zeros, and
// where the system can, they are all there afterwards.
TEST(LargeMemory, PreparedPagesKeepWhatTheyHold) {
  constexpr size_t kSize = size_t{8} << 20;
  auto* block = static_cast<char*>(AllocateLarge(kSize));
  const size_t written = kSize / 4 + 100;
  for (size_t k = 0; k < written; ++k) block[k] = static_cast<char>('a' + k % 26);
  // Ends inside pages: only the whole pages between them are prepared.
  PreparePages(block + 1000, block + kSize - 10);
  PreparePages(block + kSize, block);
  for (size_t k = 0; k < written; ++k) {
    ASSERT_EQ(block[k], static_cast<char>('a' + k % 26)) << k;
  }
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  std::vector<unsigned char> resident(kSize / 4096);
  ASSERT_EQ(mincore(block, kSize, resident.data()), 0);
  size_t absent = 0;
  for (size_t page = 1; page + 1 < resident.size(); ++page) absent += (resident[page] & 1) == 0;
  // A kernel without the advice leaves the pages to their first writer.
  if (madvise(block, 4096, MADV_POPULATE_WRITE) == 0) {
    EXPECT_EQ(absent, 0u);
  }
#endif
  for (size_t k = written; k < kSize; k += 4093) ASSERT_EQ(block[k], 0) << k;
  FreeLarge(block, kSize);
}

TEST(ChargeMemory, SmallChargesStayWithTheThreadUntilASliceIsUsed) {
  ParseLimits limits(1 << 30, nullptr);
  ParseLimitsScope scope(&limits);
  ChargeMemory(100);
  const int64_t taken = limits.Used();
  EXPECT_EQ(taken, static_cast<int64_t>(100 + kChargeSlice));
  for (int i = 0; i < 100; ++i) ChargeMemory(100);
  EXPECT_EQ(limits.Used(), taken);
  // Refunds gather with the thread too, up to two slices.
  RefundMemory(10100);
  EXPECT_EQ(limits.Used(), taken);
  ChargeMemory(3 * kChargeSlice);
  RefundMemory(3 * kChargeSlice);
  // Past two slices the thread keeps one and gives the rest back.
  EXPECT_EQ(limits.Used(), static_cast<int64_t>(kChargeSlice));
}

TEST(ChargeMemory, NearTheBudgetOnlyWhatIsMissingIsTaken) {
  ParseLimits limits(1000, nullptr);
  ParseLimitsScope scope(&limits);
  ChargeMemory(600);
  ChargeMemory(400);
  EXPECT_EQ(limits.Used(), 1000);
  EXPECT_THROW(ChargeMemory(1), std::bad_alloc);
  EXPECT_THROW(ChargeMemory(SIZE_MAX), std::bad_alloc);
  EXPECT_EQ(limits.Used(), 1000);
}

TEST(BudgetAllocator, SmallBlocksCostWhatTheAllocatorHolds) {
  EXPECT_EQ(HeapFootprint(0), 32u);
  EXPECT_EQ(HeapFootprint(8), 32u);
  EXPECT_EQ(HeapFootprint(24), 32u);
  EXPECT_EQ(HeapFootprint(25), 48u);
  EXPECT_EQ(HeapFootprint(1000), 1008u);
  EXPECT_EQ(HeapFootprint(SIZE_MAX), SIZE_MAX);
}

TEST(MemoryBudget, DefaultIsHalfThePhysicalMemoryAtMost) {
  SetMemoryBudget(0);
  const uint64_t budget = MemoryBudget();
  EXPECT_EQ(budget, DefaultMemoryBudget());
  EXPECT_GT(budget, uint64_t{1} << 20);
  SetMemoryBudget(12345);
  EXPECT_EQ(MemoryBudget(), 12345u);
  // Each thread has its own setting.
  uint64_t other = 0;
  std::thread([&] { other = MemoryBudget(); }).join();
  EXPECT_EQ(other, budget);
  SetMemoryBudget(0);
  EXPECT_EQ(MemoryBudget(), budget);
}

// A drawing of many LINEs: about 100 bytes of file for each.
std::string Lines(int count) {
  std::vector<std::pair<int, std::string>> p;
  for (int i = 0; i < count; ++i) {
    p.insert(p.end(), {{0, "LINE"},
                       {8, "0"},
                       {10, std::to_string(i)},
                       {20, "0"},
                       {30, "0"},
                       {11, "1"},
                       {21, "1"},
                       {31, "0"}});
  }
  return test::Drawing(p);
}

TEST(MemoryBudget, ADrawingLargerThanTheBudgetFailsWith7) {
  const std::string drawing = Lines(2000);
  const std::string expected = Parse(drawing);
  ASSERT_FALSE(expected.empty());
  {
    // The file's bytes alone do not fit.
    BudgetSetting budget(drawing.size() / 2);
    EXPECT_EQ(ParseFailure(drawing), 7);
  }
  {
    // The bytes fit, their pairs do not: memory, not a fault of the file.
    BudgetSetting budget(drawing.size() + 1000);
    EXPECT_EQ(ParseFailure(drawing), 7);
  }
  {
    // The text does not fit.
    BudgetSetting budget(drawing.size() * 4 + (4 << 20));
    EXPECT_EQ(ParseFailure(Lines(40000)), 7);
  }
  BudgetSetting budget(64 << 20);
  EXPECT_EQ(Parse(drawing), expected);
}

TEST(MemoryBudget, DoublingBlocksStopAtTheBudget) {
  // 2^29 lines would need hundreds of gigabytes: the entity objects stop it.
  BudgetSetting budget(64 << 20);
  EXPECT_EQ(ParseFailure(test::DoublingBlocks(30)), 7);
  // A small one still gives every line.
  const std::string text = Parse(test::DoublingBlocks(5));
  size_t lines = 0;
  for (char c : text) lines += c == '\n';
  EXPECT_EQ(lines, 16u);
}

TEST(MemoryBudget, WorkArraysOfAHighDegreeFitCount) {
  // Degree 2000: each work array of the evaluator holds 2001 x 2001 doubles, 32 MB.
  BudgetSetting budget(16 << 20);
  EXPECT_EQ(ParseFailure(test::HighDegreeSpline(2000)), 7);
}

TEST(MemoryBudget, APrintingThreadCountsAgainstTheSameBudget) {
  // Many top-level items go to the printing thread; its text is charged too.
  const std::string drawing = Lines(20000);
  const std::string expected = Parse(drawing);
  BudgetSetting budget(drawing.size() * 3);
  EXPECT_EQ(ParseFailure(drawing), 7);
}

// Runs Parse2 on the drawing and cancels it from another thread after the delay;
// returns the time from the cancel to the end of the parse.
std::chrono::milliseconds CancelAfter(const std::string& drawing, std::chrono::milliseconds delay,
                                      std::string& text,
                                      Vessik_CommonData data = test::ToolDefaults()) {
  test::TempFile f(drawing);
  Vessik_Parser parser;
  Vessik_Progress progress;
  Clock::time_point canceledAt{};
  std::thread canceler([&] {
    std::this_thread::sleep_for(delay);
    canceledAt = Clock::now();
    progress.IsCanceled(true);
  });
  text = parser.Parse2(f.Path(), data, progress);
  const Clock::time_point done = Clock::now();
  canceler.join();
  return std::chrono::duration_cast<std::chrono::milliseconds>(done - canceledAt);
}

// Generous against a busy machine, and more so in the checked builds, which run
// the fits ten times slower: without the cancel each of these parses runs for many
// seconds or minutes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::chrono::milliseconds kMostLatency{5000};
#else
constexpr std::chrono::milliseconds kMostLatency{1500};
#endif

TEST(Cancel, FromAnotherThreadInsideABlockExpansion) {
  std::string text = "unset";
  const auto latency = CancelAfter(test::DoublingBlocks(30), std::chrono::milliseconds(300), text);
  std::printf("cancel latency in a block expansion: %lld ms\n",
              static_cast<long long>(latency.count()));
  EXPECT_EQ(text, "");
  EXPECT_LT(latency, kMostLatency);
}

TEST(Cancel, FromAnotherThreadInsideOneLongFit) {
  std::string text = "unset";
  const auto latency =
      CancelAfter(test::HighDegreeSpline(3000), std::chrono::milliseconds(300), text);
  std::printf("cancel latency in a fit of degree 3000: %lld ms\n",
              static_cast<long long>(latency.count()));
  EXPECT_EQ(text, "");
  EXPECT_LT(latency, kMostLatency);
}

TEST(Cancel, FromAnotherThreadInsideAnEllipseSearch) {
  // Centre at y = 1e308: every pass of the search for the number of pieces misses,
  // up to the guard of 10000 pieces, which takes seconds.
  std::vector<std::pair<int, std::string>> ellipse = {{0, "ELLIPSE"},
                                                      {8, "0"},
                                                      {10, "0"},
                                                      {20, "1e308"},
                                                      {30, "0"},
                                                      {11, "1"},
                                                      {21, "0"},
                                                      {31, "0"},
                                                      {40, "0.5"},
                                                      {41, "0"},
                                                      {42, "6.28318530717958"}};
  std::string text = "unset";
  const auto latency = CancelAfter(test::Drawing(ellipse), std::chrono::milliseconds(300), text);
  std::printf("cancel latency in an ellipse search: %lld ms\n",
              static_cast<long long>(latency.count()));
  EXPECT_EQ(text, "");
  EXPECT_LT(latency, kMostLatency);
}

TEST(Cancel, FromAnotherThreadWhilePrintingOneHugeArc) {
  // Radius 1.6e6 under a tilted extrusion, cut to a sagitta of 1e-4: about a
  // million segments for each arc, all made while the text is written.
  std::vector<std::pair<int, std::string>> arc = {
      {0, "ARC"}, {8, "0"},    {10, "0"},    {20, "0"},  {30, "0"},   {40, "1.6e6"},
      {50, "0"},  {51, "359"}, {210, "0.6"}, {220, "0"}, {230, "0.8"}};
  std::vector<std::pair<int, std::string>> arcs;
  for (int i = 0; i < 8; ++i) arcs.insert(arcs.end(), arc.begin(), arc.end());
  Vessik_CommonData data = test::ToolDefaults();
  data.ArcMaximumDeviationFactor = 1e-4;
  data.ArcMinimumSegmentLengthFactor = 1;
  data.ArcMaximumSegmentLengthFactor = 10;
  std::string text = "unset";
  const auto latency = CancelAfter(test::Drawing(arcs), std::chrono::milliseconds(300), text, data);
  std::printf("cancel latency among huge arcs: %lld ms\n", static_cast<long long>(latency.count()));
  EXPECT_EQ(text, "");
  EXPECT_LT(latency, kMostLatency);
}

TEST(Cancel, FromAnotherThreadWhileALargeFileLoads) {
  std::string text = "unset";
  const auto latency = CancelAfter(Lines(400000), std::chrono::milliseconds(20), text);
  EXPECT_EQ(text, "");
  EXPECT_LT(latency, kMostLatency);
}

TEST(Cancel, SetBeforeTheCallStillEndsAtTheFirstItemOfALongFit) {
  // Before the call: the stages before the entities run, and the progress values
  // are those of any cancel at the first item.
  Vessik_Progress progress;
  progress.IsCanceled(true);
  std::vector<int32_t> values;
  progress.Connect([&](int32_t v) { values.push_back(v); });
  EXPECT_EQ(Parse(test::HighDegreeSpline(3000), progress), "");
  EXPECT_EQ(values, (std::vector<int32_t>{50, 50}));
}

TEST(Cancel, InAProgressHandlerWhilePrintingGivesTheEmptyText) {
  Vessik_Progress progress;
  progress.Connect([&](int32_t v) {
    // Past 75 only while the records are written.
    if (v > 75) progress.IsCanceled(true);
  });
  EXPECT_EQ(Parse(Lines(500), progress), "");
}

TEST(Cancel, AParseAfterACancelWorksOnceTheFlagIsCleared) {
  Vessik_Progress progress;
  progress.IsCanceled(true);
  const std::string drawing = Lines(10);
  EXPECT_EQ(Parse(drawing, progress), "");
  progress.IsCanceled(false);
  EXPECT_EQ(Parse(drawing, progress), Parse(drawing));
}

}  // namespace
}  // namespace vessik
