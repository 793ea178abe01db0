// Parse2To: the text of Parse2 handed to a sink piece by piece as it is made, with
// the same failures, and false for a cancelled parse.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "parser/Vessik_Hooks.h"
#include "parser/parser.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

// Keeps the text and the size of every piece.
struct KeepingSink : TextSink {
  std::string text;
  std::vector<size_t> pieces;
  void Write(std::string_view bytes) override {
    text.append(bytes);
    pieces.push_back(bytes.size());
  }
};

// Fails with "Path/File access error" at its second piece.
struct FailingSink : TextSink {
  int writes = 0;
  void Write(std::string_view) override {
    if (++writes == 2) RaisePlatformError(errnum::PathFileAccess);
  }
};

// Lines, arcs and a block inserted many times: several megabytes of text.
std::string BigDrawing(int items) {
  Pairs entities;
  for (int i = 0; i < items; ++i) {
    const std::string x = std::to_string(i);
    entities.insert(entities.end(),
                    {{0, "LINE"}, {8, "0"}, {10, x}, {20, "1"}, {11, "2"}, {21, x}});
    entities.insert(entities.end(),
                    {{0, "ARC"}, {8, "0"}, {10, x}, {20, x}, {40, "3"}, {50, "10"}, {51, "200"}});
    if (i % 100 == 0) entities.insert(entities.end(), {{0, "INSERT"}, {2, "B"}, {10, x}});
  }
  Pairs block = {{0, "BLOCK"}, {2, "B"}, {10, "0"}, {20, "0"}, {30, "0"}};
  for (int i = 0; i < 50; ++i) {
    block.insert(block.end(), {{0, "CIRCLE"}, {8, "0"}, {10, std::to_string(i)}, {40, "1"}});
  }
  block.push_back({0, "ENDBLK"});
  return test::Drawing(entities, {{"0", 7}}, block);
}

std::string Whole(const std::string& path, Vessik_Progress& progress) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  return parser.Parse2(path, data, progress);
}

TEST(Parse2To, SmallTextArrivesInOnePiece) {
  test::TempFile f(BigDrawing(3));
  Vessik_Progress progress;
  const std::string whole = Whole(f.Path(), progress);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  KeepingSink sink;
  EXPECT_TRUE(parser.Parse2To(f.Path(), &data, &progress, sink));
  EXPECT_EQ(sink.text, whole);
  EXPECT_EQ(sink.pieces.size(), 1u);
  EXPECT_EQ(parser.Layers().size(), 1u);
}

TEST(Parse2To, LargeTextArrivesInLargePiecesInOrder) {
  test::TempFile f(BigDrawing(20000));
  Vessik_Progress progress;
  const std::string whole = Whole(f.Path(), progress);
  ASSERT_GT(whole.size(), size_t{2} << 20);
  for (int32_t threads : {1, 2}) {
    SCOPED_TRACE(threads);
    SetCurveThreads(threads);
    Vessik_Parser parser;
    Vessik_CommonData data = test::ToolDefaults();
    KeepingSink sink;
    EXPECT_TRUE(parser.Parse2To(f.Path(), &data, &progress, sink));
    SetCurveThreads(0);
    EXPECT_TRUE(sink.text == whole);
    ASSERT_GE(sink.pieces.size(), 3u);
    // Every piece but the last is at least a mebibyte: few, large writes.
    for (size_t i = 0; i + 1 < sink.pieces.size(); ++i) EXPECT_GE(sink.pieces[i], size_t{1} << 20);
  }
}

TEST(Parse2To, EmptyDrawingWritesNothing) {
  test::TempFile f(test::Drawing({}));
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  KeepingSink sink;
  EXPECT_TRUE(parser.Parse2To(f.Path(), &data, &progress, sink));
  EXPECT_EQ(sink.text, "");
}

TEST(Parse2To, CancelReturnsFalseAndTheNextParseTrue) {
  test::TempFile f(BigDrawing(20000));
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  int values = 0;
  const int cookie = progress.Connect([&](int32_t) {
    if (++values == 2) progress.IsCanceled(true);
  });
  KeepingSink sink;
  EXPECT_FALSE(parser.Parse2To(f.Path(), &data, &progress, sink));
  progress.Disconnect(cookie);
  progress.IsCanceled(false);
  KeepingSink again;
  EXPECT_TRUE(parser.Parse2To(f.Path(), &data, &progress, again));
  Vessik_Progress fresh;
  EXPECT_TRUE(again.text == Whole(f.Path(), fresh));
}

TEST(Parse2To, CancelledBeforeTheStartReturnsFalse) {
  test::TempFile f(BigDrawing(10));
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  progress.IsCanceled(true);
  KeepingSink sink;
  EXPECT_FALSE(parser.Parse2To(f.Path(), &data, &progress, sink));
  EXPECT_EQ(sink.text, "");
}

// The parse of the drawing ends with the failure of a sink that fails at its
// second piece; the same parser then streams the whole text. Returns its pieces.
std::vector<size_t> ExpectSinkFailureThenWholeText(const std::string& path) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  FailingSink sink;
  EXPECT_EQ(test::FailureNumber([&] { parser.Parse2To(path, &data, &progress, sink); }),
            errnum::PathFileAccess);
  EXPECT_EQ(sink.writes, 2);
  KeepingSink good;
  EXPECT_TRUE(parser.Parse2To(path, &data, &progress, good));
  Vessik_Progress fresh;
  EXPECT_TRUE(good.text == Whole(path, fresh));
  return good.pieces;
}

TEST(Parse2To, FailureOfTheSinkEndsTheParseWithIt) {
  test::TempFile f(BigDrawing(20000));
  ExpectSinkFailureThenWholeText(f.Path());
}

TEST(Parse2To, FailureOfTheSinkInsideAReferenceEndsTheParse) {
  // A reference whose own items make megabytes: its text goes out between them,
  // and a failure there is no failure of one item to be left out.
  Pairs block = {{0, "BLOCK"}, {2, "BIG"}, {10, "0"}, {20, "0"}, {30, "0"}};
  for (int i = 0; i < 30000; ++i) {
    const std::string x = std::to_string(i);
    block.insert(block.end(), {{0, "LINE"}, {8, "0"}, {10, x}, {11, "2"}, {21, x}});
  }
  block.push_back({0, "ENDBLK"});
  Pairs entities;
  for (int i = 0; i < 4; ++i) {
    entities.insert(entities.end(), {{0, "INSERT"}, {2, "BIG"}, {10, std::to_string(i)}});
  }
  test::TempFile f(test::Drawing(entities, {{"0", 7}}, block));
  EXPECT_GE(ExpectSinkFailureThenWholeText(f.Path()).size(), 6u);
}

TEST(Parse2To, ParseFailureAfterTextWentOutIsRaised) {
  // Megabytes of good records, then a polyline whose vertex has a y before its x.
  Pairs entities;
  for (int i = 0; i < 30000; ++i) {
    const std::string x = std::to_string(i);
    entities.insert(entities.end(), {{0, "LINE"}, {8, "0"}, {10, x}, {11, "2"}, {21, x}});
  }
  entities.insert(entities.end(), {{0, "LWPOLYLINE"}, {8, "0"}, {90, "1"}, {20, "1"}});
  test::TempFile f(test::Drawing(entities));
  Vessik_Progress progress;
  EXPECT_EQ(test::FailureNumber([&] { Whole(f.Path(), progress); }), errnum::ObjectNotSet);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  KeepingSink sink;
  EXPECT_EQ(test::FailureNumber([&] { parser.Parse2To(f.Path(), &data, &progress, sink); }),
            errnum::ObjectNotSet);
}

TEST(Parse2To, TrueGeometryModeStreamsTheSameText) {
  test::TempFile f(BigDrawing(500));
  SetTrueGeometry(true);
  Vessik_Progress progress;
  const std::string whole = Whole(f.Path(), progress);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  KeepingSink sink;
  const bool done = parser.Parse2To(f.Path(), &data, &progress, sink);
  SetTrueGeometry(false);
  EXPECT_TRUE(done);
  EXPECT_FALSE(whole.empty());
  EXPECT_TRUE(sink.text == whole);
}

TEST(Parse2To, ProgressValuesAreThoseOfParse2) {
  test::TempFile f(BigDrawing(20000));
  std::vector<int32_t> a;
  std::vector<int32_t> b;
  Vessik_Progress pa;
  pa.Connect([&](int32_t v) { a.push_back(v); });
  Whole(f.Path(), pa);
  Vessik_Progress pb;
  pb.Connect([&](int32_t v) { b.push_back(v); });
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  KeepingSink sink;
  parser.Parse2To(f.Path(), &data, &pb, sink);
  EXPECT_GT(a.size(), 2u);
  EXPECT_EQ(a, b);
}

}  // namespace
}  // namespace vessik
