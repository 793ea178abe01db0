#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "parser/ParseLimits.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Error.h"
#include "support/TestSupport.h"

namespace vessik {

TEST(VessikConcat, TwoAppendsThenValue) {
  Vessik_Concat c;
  c.Concat("abc");
  c.Concat("de\tf\r\n");
  EXPECT_EQ(c.value(), "abcde\tf\r\n");
  EXPECT_EQ(c.length(), 9);
}

TEST(VessikConcat, NewIsEmpty) {
  Vessik_Concat c;
  EXPECT_EQ(c.value(), "");
  EXPECT_EQ(c.length(), 0);
  c.Concat("");
  EXPECT_EQ(c.value(), "");
}

TEST(VessikConcat, ClearThenOneAppend) {
  Vessik_Concat c;
  c.Concat("first text");
  c.Concat(" and more");
  c.Clear();
  EXPECT_EQ(c.length(), 0);
  c.Concat("new");
  EXPECT_EQ(c.value(), "new");
  EXPECT_EQ(c.length(), 3);
}

TEST(VessikConcat, ManyAppendsKeepEverything) {
  Vessik_Concat c;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    std::string piece = std::to_string(i) + "\t";
    c.Concat(piece);
    expected += piece;
  }
  EXPECT_EQ(c.value(), expected);
  EXPECT_EQ(c.length(), static_cast<int64_t>(expected.size()));
  EXPECT_EQ(c.TakeValue(), expected);
  EXPECT_EQ(c.value(), "");
}

// Keeps every piece handed to it.
struct PieceSink : TextSink {
  std::vector<std::string> pieces;
  void Write(std::string_view bytes) override { pieces.emplace_back(bytes); }
};

TEST(VessikConcatStream, SmallTextStaysHeldUntilFlushed) {
  PieceSink sink;
  Vessik_Concat c;
  c.StreamTo(&sink);
  c.Concat("abc");
  c.Drain();
  EXPECT_TRUE(sink.pieces.empty());
  EXPECT_EQ(c.length(), 3);
  c.Flush();
  EXPECT_EQ(sink.pieces, std::vector<std::string>{"abc"});
  EXPECT_EQ(c.length(), 3);
  EXPECT_EQ(c.value(), "");
  // Nothing held: nothing more to hand over.
  c.Flush();
  EXPECT_EQ(sink.pieces.size(), 1u);
}

TEST(VessikConcatStream, DrainHandsOverOnceAMebibyteIsHeld) {
  PieceSink sink;
  Vessik_Concat c;
  c.StreamTo(&sink);
  const std::string part((1 << 20) - 1, 'x');
  c.Concat(part);
  c.Drain();
  EXPECT_TRUE(sink.pieces.empty());
  c.Concat("y");
  c.Drain();
  ASSERT_EQ(sink.pieces.size(), 1u);
  EXPECT_EQ(sink.pieces[0], part + "y");
  c.Concat("tail");
  EXPECT_EQ(c.length(), (1 << 20) + 4);
  EXPECT_EQ(c.value(), "tail");
}

TEST(VessikConcatStream, TruncateKeepsToTheHeldPart) {
  PieceSink sink;
  Vessik_Concat c;
  c.StreamTo(&sink);
  c.Concat(std::string(1 << 20, 'a'));
  c.Drain();
  c.Concat("0123456789");
  c.Truncate((1 << 20) + 4);
  EXPECT_EQ(c.value(), "0123");
  c.Truncate(1 << 20);
  EXPECT_EQ(c.value(), "");
  // What went out can not be taken back: the parse can not go on, and ends with 5.
  try {
    c.Truncate((1 << 20) - 1);
    ADD_FAILURE() << "no failure";
  } catch (const TextSinkFailed& f) {
    EXPECT_EQ(test::FailureNumber([&] { std::rethrow_exception(f.failure); }),
              errnum::InvalidProcedureCall);
  }
  EXPECT_EQ(c.length(), 1 << 20);
}

TEST(VessikConcatStream, FailureOfTheSinkIsKeptAndTheTextHeld) {
  struct Refusing : TextSink {
    void Write(std::string_view) override { RaisePlatformError(errnum::PathFileAccess); }
  } sink;
  Vessik_Concat c;
  c.StreamTo(&sink);
  c.Concat("abc");
  try {
    c.Flush();
    ADD_FAILURE() << "no failure";
  } catch (const TextSinkFailed& f) {
    EXPECT_EQ(test::FailureNumber([&] { std::rethrow_exception(f.failure); }),
              errnum::PathFileAccess);
  }
  EXPECT_EQ(c.length(), 3);
  EXPECT_EQ(c.value(), "abc");
}

TEST(VessikConcatStream, WithoutASinkDrainAndFlushKeepEverything) {
  Vessik_Concat c;
  c.Concat(std::string(3 << 20, 'b'));
  c.Drain();
  c.Flush();
  EXPECT_EQ(c.length(), 3 << 20);
  EXPECT_EQ(c.TakeValue().size(), size_t{3} << 20);
}

TEST(VessikConcatStream, MovedConcatKeepsItsSinkAndCount) {
  PieceSink sink;
  Vessik_Concat a;
  a.StreamTo(&sink);
  a.Concat("12");
  a.Flush();
  a.Concat("3");
  Vessik_Concat b(std::move(a));
  EXPECT_EQ(b.length(), 3);
  b.Flush();
  EXPECT_EQ(sink.pieces, (std::vector<std::string>{"12", "3"}));
}

}  // namespace vessik
