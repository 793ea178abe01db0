// The message pump.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "parser/GroupPairs.h"
#include "parser/Vessik_Utils.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

}  // namespace

TEST(PumpMessages, RunsTheHookWhen100MillisecondsHavePassed) {
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  LastPumpTick() = TickCount();
  PumpMessages();
  EXPECT_EQ(calls, 0);
  LastPumpTick() = TickCount() - 100;
  const int32_t before = TickCount();
  PumpMessages();
  EXPECT_EQ(calls, 1);
  EXPECT_GE(LastPumpTick() - before, 0);
  // At once again: less than 100 ms since the last run.
  PumpMessages();
  EXPECT_EQ(calls, 1);
  LastPumpTick() = TickCount() - 250;
  PumpMessages();
  EXPECT_EQ(calls, 2);
  // A tick behind the current one counts as a negative difference.
  LastPumpTick() = TickCount() + 100000;
  PumpMessages();
  EXPECT_EQ(calls, 2);
  SetPumpHook(nullptr);
}

TEST(PumpMessages, WithoutHookKeepsTheTick) {
  SetPumpHook(nullptr);
  LastPumpTick() = TickCount() - 1000;
  const int32_t before = TickCount();
  PumpMessages();
  EXPECT_GE(LastPumpTick() - before, 0);
  EXPECT_LT(LastPumpTick() - before, 1000);
}

TEST(PumpMessages, HookIsPerThread) {
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  std::thread other([] {
    LastPumpTick() = TickCount() - 1000;
    PumpMessages();
  });
  other.join();
  EXPECT_EQ(calls, 0);
  SetPumpHook(nullptr);
}

TEST(PumpMessages, SilencedThreadNeitherRunsTheHookNorKeepsTheTick) {
  std::thread own([] {
    int calls = 0;
    SetPumpHook([&] { ++calls; });
    SilencePump();
    LastPumpTick() = TickCount() - 1000;
    const int32_t stale = LastPumpTick();
    PumpMessages();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(LastPumpTick(), stale);
    SetPumpHook(nullptr);
  });
  own.join();
}

TEST(PumpMessages, NotCalledByTheTableStages) {
  Pairs p = {{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}};
  for (int i = 0; i < 2000; ++i) {
    std::string name(1, 'L');
    name += std::to_string(i);
    p.insert(p.end(), {{0, "LAYER"}, {2, name}});
  }
  p.insert(p.end(), {{0, "ENDTAB"}, {0, "ENDSEC"}, {0, "SECTION"}, {2, "BLOCKS"}});
  for (int i = 0; i < 2000; ++i) p.insert(p.end(), {{0, "BLOCK"}, {2, "B"}, {0, "ENDBLK"}});
  p.insert(p.end(), {{0, "ENDSEC"}});
  GroupPairs().Assign(std::vector<std::pair<int32_t, std::string>>(p.begin(), p.end()));
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  LastPumpTick() = TickCount() - 1000;
  auto sections = Vessik_Parser::ParseSections();
  auto layers = Vessik_Parser::ParseLayers(sections);
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  SetPumpHook(nullptr);
  EXPECT_EQ(layers.size(), 2000u);
  EXPECT_EQ(blocks.size(), 2000u);
  EXPECT_EQ(calls, 0);
}

TEST(PumpMessages, CalledDuringALongLoad) {
  std::string text = "0\nSECTION\n2\nENTITIES\n";
  while (text.size() < 1000000) text += "999\nsome comment of a drawing\n";
  text += "0\nENDSEC\n0\nEOF\n";
  test::TempFile f(text);
  int calls = 0;
  int32_t pairsSeen = -1;
  SetPumpHook([&] {
    if (calls++ == 0) pairsSeen = GroupPairs().Count();
  });
  LastPumpTick() = TickCount() - 1000;
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  SetPumpHook(nullptr);
  EXPECT_GE(calls, 1);
  // The first run came during loading, before any pair was built.
  EXPECT_EQ(pairsSeen, 0);
}

}  // namespace vessik
