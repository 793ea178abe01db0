// Splines and ellipses fitted on worker threads while the reading goes on: the
// text, the progress values, cancelling and the failure raised are those of the
// reading thread fitting each curve itself, one item after another.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "entities/CurvePool.h"
#include "entities/EntityFactory.h"
#include "parser/Vessik_Hooks.h"
#include "parser/parser.h"
#include "support/Settings.h"
#include "support/SplineTestUtil.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

std::string Num(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.10g", v);
  return buf;
}

// A small generator of repeatable numbers, so that the drawings are the same on
// every run.
class Numbers {
 public:
  double Next(double lo, double hi) {
    state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
    return lo + (hi - lo) * static_cast<double>(state_ >> 11) / 9007199254740992.0;
  }

 private:
  uint64_t state_ = 12345;
};

// A clamped cubic spline through n control points near (x, y).
void AddSpline(Pairs& p, Numbers& r, double x, double y, int n, const std::string& layer) {
  const int knots = n + 4;
  p.insert(p.end(), {{0, "SPLINE"},
                     {8, layer},
                     {70, "8"},
                     {71, "3"},
                     {72, std::to_string(knots)},
                     {73, std::to_string(n)}});
  for (int i = 0; i < knots; ++i) {
    const int k = i < 4 ? 0 : (i >= n ? n - 3 : i - 3);
    p.push_back({40, std::to_string(k)});
  }
  for (int i = 0; i < n; ++i) {
    p.push_back({10, Num(x + i * 2.0 + r.Next(-1, 1))});
    p.push_back({20, Num(y + r.Next(-3, 3))});
    p.push_back({30, "0"});
  }
}

void AddEllipse(Pairs& p, Numbers& r, double x, double y, const std::string& layer) {
  p.insert(p.end(), {{0, "ELLIPSE"},
                     {8, layer},
                     {10, Num(x)},
                     {20, Num(y)},
                     {30, "0"},
                     {11, Num(r.Next(1, 9))},
                     {21, Num(r.Next(-4, 4))},
                     {31, "0"},
                     {40, Num(r.Next(0.1, 0.9))},
                     {41, Num(r.Next(0, 3))},
                     {42, Num(r.Next(3.2, 6.28318530717958))}});
}

void AddLine(Pairs& p, double x, double y) {
  p.insert(p.end(), {{0, "LINE"},
                     {8, "0"},
                     {10, Num(x)},
                     {20, Num(y)},
                     {30, "0"},
                     {11, Num(x + 1)},
                     {21, Num(y + 2)},
                     {31, "0"}});
}

void AddInsert(Pairs& p, const std::string& block, double x, double y, double angle) {
  p.insert(p.end(), {{0, "INSERT"},
                     {8, "0"},
                     {2, block},
                     {10, Num(x)},
                     {20, Num(y)},
                     {30, "0"},
                     {50, Num(angle)}});
}

// An ellipse whose fit runs into the guard on its passes and fails with
// TooManyIterations.
void AddHostileEllipse(Pairs& p) {
  p.insert(p.end(), {{0, "ELLIPSE"},
                     {8, "0"},
                     {10, "0"},
                     {20, "0"},
                     {30, "0"},
                     {11, "10"},
                     {21, "0"},
                     {31, "0"},
                     {40, "0.5"},
                     {41, "1e300"},
                     {42, "-1e300"}});
}

// A failure of the reading itself, not of a fit: a vertex's y before any x.
void AddBrokenPolyline(Pairs& p) {
  p.insert(p.end(), {{0, "LWPOLYLINE"}, {8, "0"}, {90, "1"}, {20, "1"}});
}

const std::vector<std::pair<std::string, int>> kLayers = {{"0", 7}, {"CURVES", 3}};

// Curves at the top level, among lines, and in nested blocks inserted several
// times: many fits in flight at once.
struct CurveDrawing {
  Pairs entities;
  Pairs blocks;
};

CurveDrawing ManyCurves(int curves) {
  Numbers r;
  CurveDrawing d;
  d.blocks = {{0, "BLOCK"}, {2, "PETAL"}, {10, "0"}, {20, "0"}, {30, "0"}};
  for (int i = 0; i < 12; ++i) AddSpline(d.blocks, r, i, 0, 8 + i % 9, "CURVES");
  AddEllipse(d.blocks, r, 3, 3, "0");
  d.blocks.push_back({0, "ENDBLK"});
  d.blocks.insert(d.blocks.end(), {{0, "BLOCK"}, {2, "FLOWER"}, {10, "0"}, {20, "0"}, {30, "0"}});
  for (int i = 0; i < 5; ++i) AddInsert(d.blocks, "PETAL", i * 3.0, 1, i * 72.0);
  AddSpline(d.blocks, r, 0, 0, 12, "0");
  d.blocks.push_back({0, "ENDBLK"});
  for (int i = 0; i < curves; ++i) {
    if (i % 3 == 0) AddLine(d.entities, i, -i);
    if (i % 5 == 0) {
      AddEllipse(d.entities, r, i, i, i % 2 ? "CURVES" : "0");
    } else {
      AddSpline(d.entities, r, i * 0.5, i * 0.25, 8 + i % 13, "CURVES");
    }
    if (i % 40 == 0) AddInsert(d.entities, "FLOWER", i, 100, i * 0.7);
  }
  return d;
}

std::string DrawingText(const CurveDrawing& d) {
  return test::Drawing(d.entities, kLayers, d.blocks);
}

// The curve threads of this thread's parses for the life of the object.
class CurveThreadsScope {
 public:
  explicit CurveThreadsScope(int32_t count) : saved_(CurveThreads()) { SetCurveThreads(count); }
  ~CurveThreadsScope() { SetCurveThreads(saved_); }

 private:
  int32_t saved_;
};

// What a parse gave the host: the text or the failure, and the progress values.
struct Outcome {
  std::string text;
  int32_t failure = 0;
  std::string description;
  std::vector<int32_t> progress;
  std::vector<std::string> shown;
};

// Parses with this many curve threads; the progress handler may cancel at the
// value numbered cancelAt (from 1). Without listening, no handler is connected.
Outcome ParseWith(int32_t threads, const std::string& path,
                  Vessik_CommonData data = test::ToolDefaults(), size_t cancelAt = 0,
                  bool listen = true) {
  CurveThreadsScope scope(threads);
  Outcome run;
  Vessik_Progress progress;
  if (listen) {
    progress.Connect([&](int32_t v) {
      run.progress.push_back(v);
      if (run.progress.size() == cancelAt) progress.IsCanceled(true);
    });
  }
  SetMessageBoxHook([&](const std::string& text) { run.shown.push_back(text); });
  Vessik_Parser parser;
  try {
    run.text = parser.Parse2(path, data, progress);
  } catch (const Vessik_Error& e) {
    run.failure = e.Number();
    run.description = e.Description();
  }
  SetMessageBoxHook(nullptr);
  return run;
}

void ExpectSameRun(const Outcome& a, const Outcome& b) {
  EXPECT_EQ(a.failure, b.failure);
  EXPECT_EQ(a.description, b.description);
  EXPECT_EQ(a.progress, b.progress);
  EXPECT_EQ(a.shown, b.shown);
  EXPECT_TRUE(a.text == b.text) << "texts of " << a.text.size() << " and " << b.text.size()
                                << " bytes differ";
}

// With one thread a curve is fitted as it is submitted, and the work of its fit
// is given back at once; what it prints stays.
TEST(CurvePool, OneThreadFitsOnTheReadingThread) {
  CurveThreadsScope scope(1);
  std::unique_ptr<CurvePool> pool = CurvePool::Start();
  ASSERT_NE(pool, nullptr);
  Vessik_Spline fitted;
  test::Fit(fitted, test::SplinePairs(2, test::kQuadKnots, test::kQuadPts), 0.01);
  Vessik_Spline pooled;
  test::Read(pooled, test::SplinePairs(2, test::kQuadKnots, test::kQuadPts));
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  pool->Submit(&pooled, data);
  EXPECT_EQ(pool->Submitted(), 1);
  EXPECT_EQ(pool->Done(), 1);
  EXPECT_EQ(pool->SettleQuietly(), nullptr);
  EXPECT_EQ(pooled.BiArcs().Count(), 0);
  ASSERT_GT(fitted.BiArcs().Count(), 0);
  EXPECT_EQ(pooled.Vessik_IEntity_ToString(test::gLayers),
            fitted.Vessik_IEntity_ToString(test::gLayers));
}

TEST(CurvePool, SeveralThreadsGiveAPool) {
  CurveThreadsScope scope(3);
  EXPECT_NE(CurvePool::Start(), nullptr);
}

TEST(CurvePool, OnlySplinesAndEllipsesArePooled) {
  EXPECT_TRUE(IsPooledCurve(KeywordIndex("SPLINE")));
  EXPECT_TRUE(IsPooledCurve(KeywordIndex("ELLIPSE")));
  for (const char* other : {"LINE", "ARC", "CIRCLE", "LWPOLYLINE", "POLYLINE", "INSERT"}) {
    EXPECT_FALSE(IsPooledCurve(KeywordIndex(other))) << other;
  }
  EXPECT_FALSE(IsPooledCurve(-1));
}

TEST(CurvePool, CurveThreadsSettingIsPerThread) {
  CurveThreadsScope scope(5);
  EXPECT_EQ(CurveThreads(), 5);
  int32_t elsewhere = -1;
  std::thread([&] { elsewhere = CurveThreads(); }).join();
  EXPECT_EQ(elsewhere, 0);
}

TEST(CurvePool, TextIsTheSameForEveryThreadCount) {
  test::TempFile f(DrawingText(ManyCurves(400)));
  const Outcome one = ParseWith(1, f.Path());
  ASSERT_EQ(one.failure, 0) << one.description;
  // Splines, ellipses and lines, with the blocks' curves expanded 10 and 50 times.
  EXPECT_GT(one.text.size(), 1000000u);
  EXPECT_FALSE(one.progress.empty());
  for (int32_t threads : {0, 2, 3, 8}) {
    SCOPED_TRACE(threads);
    ExpectSameRun(ParseWith(threads, f.Path()), one);
  }
}

TEST(CurvePool, FineSettingsGiveTheSameText) {
  test::TempFile f(DrawingText(ManyCurves(120)));
  const Vessik_CommonData fine = test::FineSettings();
  ExpectSameRun(ParseWith(2, f.Path(), fine), ParseWith(1, f.Path(), fine));
}

TEST(CurvePool, FirstFailingFitWinsOverALaterReadFailure) {
  // One at a time, the reading stops at the ellipse. With the pool the reading
  // goes on and meets the broken polyline first, but the ellipse failed earlier.
  CurveDrawing d = ManyCurves(60);
  Pairs entities = d.entities;
  AddHostileEllipse(d.entities);
  d.entities.insert(d.entities.end(), entities.begin(), entities.end());
  AddBrokenPolyline(d.entities);
  test::TempFile f(DrawingText(d));
  const Outcome one = ParseWith(1, f.Path());
  EXPECT_EQ(one.failure, errnum::TooManyIterations);
  EXPECT_EQ(one.text, "");
  for (int32_t threads : {2, 4}) {
    SCOPED_TRACE(threads);
    ExpectSameRun(ParseWith(threads, f.Path()), one);
  }
}

// Curves, then a read failure, then a fit that fails: one item at a time, the
// reading stops at the first.
CurveDrawing ReadFailureBeforeAFailingFit() {
  CurveDrawing d = ManyCurves(30);
  AddBrokenPolyline(d.entities);
  AddHostileEllipse(d.entities);
  return d;
}

TEST(CurvePool, ReadFailureBeforeAFailingFitWins) {
  test::TempFile f(DrawingText(ReadFailureBeforeAFailingFit()));
  const Outcome one = ParseWith(1, f.Path());
  EXPECT_EQ(one.failure, errnum::ObjectNotSet);
  ExpectSameRun(ParseWith(2, f.Path()), one);
}

TEST(CurvePool, OnlyTheFirstOfSeveralFailingFitsIsRaised) {
  CurveDrawing d = ManyCurves(20);
  // Two failing fits with good curves between them: only the first one counts.
  AddHostileEllipse(d.entities);
  Numbers r;
  AddSpline(d.entities, r, 0, 0, 9, "0");
  AddHostileEllipse(d.entities);
  test::TempFile f(DrawingText(d));
  const Outcome one = ParseWith(1, f.Path());
  EXPECT_EQ(one.failure, errnum::TooManyIterations);
  ExpectSameRun(ParseWith(3, f.Path()), one);
}

TEST(CurvePool, FailingFitInABlockIsRaisedAsOneAtATime) {
  CurveDrawing d = ManyCurves(40);
  d.blocks.insert(d.blocks.end(), {{0, "BLOCK"}, {2, "BAD"}, {10, "0"}, {20, "0"}, {30, "0"}});
  AddHostileEllipse(d.blocks);
  d.blocks.push_back({0, "ENDBLK"});
  AddInsert(d.entities, "BAD", 0, 0, 0);
  AddBrokenPolyline(d.entities);
  test::TempFile f(DrawingText(d));
  const Outcome one = ParseWith(1, f.Path());
  EXPECT_EQ(one.failure, errnum::TooManyIterations);
  ExpectSameRun(ParseWith(2, f.Path()), one);
}

// With nobody listening to the progress, the reading does not wait for the fits
// at each percent but runs ahead of them to its end; the text and the failure are
// still those of one item at a time.
TEST(CurvePool, WithoutAProgressHandlerTheRunIsTheSame) {
  auto unheard = [](int32_t threads, const std::string& path) {
    return ParseWith(threads, path, test::ToolDefaults(), 0, false);
  };
  test::TempFile many(DrawingText(ManyCurves(400)));
  const Outcome one = unheard(1, many.Path());
  ASSERT_EQ(one.failure, 0) << one.description;
  EXPECT_GT(one.text.size(), 1000000u);
  EXPECT_TRUE(one.progress.empty());
  EXPECT_TRUE(ParseWith(1, many.Path()).text == one.text);
  for (int32_t threads : {2, 3}) {
    SCOPED_TRACE(threads);
    ExpectSameRun(unheard(threads, many.Path()), one);
  }

  // A failing fit near the front, many curves behind it and a read failure last:
  // the fit's failure is raised, as when the reading stops at it.
  CurveDrawing d = ManyCurves(10);
  AddHostileEllipse(d.entities);
  const CurveDrawing behind = ManyCurves(300);
  d.entities.insert(d.entities.end(), behind.entities.begin(), behind.entities.end());
  AddBrokenPolyline(d.entities);
  test::TempFile failing(DrawingText(d));
  const Outcome first = unheard(1, failing.Path());
  EXPECT_EQ(first.failure, errnum::TooManyIterations);
  EXPECT_EQ(first.text, "");
  ExpectSameRun(unheard(2, failing.Path()), first);

  // The read failure in front of the failing fit wins.
  test::TempFile reading(DrawingText(ReadFailureBeforeAFailingFit()));
  const Outcome read = unheard(1, reading.Path());
  EXPECT_EQ(read.failure, errnum::ObjectNotSet);
  ExpectSameRun(unheard(2, reading.Path()), read);
}

TEST(CurvePool, CancelGivesTheEmptyTextAndTheSameProgress) {
  test::TempFile f(DrawingText(ManyCurves(400)));
  const Outcome whole = ParseWith(1, f.Path());
  ASSERT_GE(whole.progress.size(), 3u);
  for (size_t at : {size_t{1}, whole.progress.size() / 2}) {
    SCOPED_TRACE(at);
    const Outcome one = ParseWith(1, f.Path(), test::ToolDefaults(), at);
    EXPECT_EQ(one.text, "");
    EXPECT_EQ(one.failure, 0);
    ExpectSameRun(ParseWith(2, f.Path(), test::ToolDefaults(), at), one);
  }
}

TEST(CurvePool, HostMessagesRunOnTheHostThreadOnly) {
  test::TempFile f(DrawingText(ManyCurves(400)));
  const std::thread::id host = std::this_thread::get_id();
  int calls = 0;
  int elsewhere = 0;
  SetPumpHook([&] {
    ++calls;
    if (std::this_thread::get_id() != host) ++elsewhere;
  });
  const Outcome pooled = ParseWith(2, f.Path());
  SetPumpHook(nullptr);
  EXPECT_EQ(pooled.failure, 0);
  EXPECT_GE(calls, 1);
  EXPECT_EQ(elsewhere, 0);
}

TEST(CurvePool, ParsesOnTwoThreadsAtOnceKeepTheirOwnPools) {
  test::TempFile f(DrawingText(ManyCurves(200)));
  const Outcome one = ParseWith(1, f.Path());
  Outcome a;
  Outcome b;
  std::thread ta([&] { a = ParseWith(2, f.Path()); });
  std::thread tb([&] { b = ParseWith(2, f.Path()); });
  ta.join();
  tb.join();
  ExpectSameRun(a, one);
  ExpectSameRun(b, one);
}

}  // namespace
}  // namespace vessik
