#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "entities/AheadPrinter.h"
#include "entities/Vessik_Line.h"
#include "parser/Vessik_Layer.h"

namespace vessik {
namespace {

class Throws : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    Vessik_Line::AppendText(Text, Layers);
    throw std::runtime_error("no text");
  }
};

// A line whose printing runs out of memory after its record.
class RunsOutOfMemory : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    Vessik_Line::AppendText(Text, Layers);
    throw std::bad_alloc();
  }
};

// A line that counts how often it is printed.
class Counted : public Vessik_Line {
 public:
  explicit Counted(std::atomic<int>& count) : count_(count) { X2 = 9999.5; }
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    Vessik_Line::AppendText(Text, Layers);
    count_.fetch_add(1);
  }

 private:
  std::atomic<int>& count_;
};

std::vector<std::unique_ptr<Vessik_Line>> Lines(int count) {
  std::vector<std::unique_ptr<Vessik_Line>> lines;
  for (int i = 0; i < count; ++i) {
    auto line = std::make_unique<Vessik_Line>();
    line->Id = i;
    line->X2 = i * 0.5;
    lines.push_back(std::move(line));
  }
  return lines;
}

Vessik_Layers OneLayer(const std::string& name) {
  auto layer = std::make_shared<Vessik_Layer>();
  layer->Name = name;
  return Vessik_Layers{layer};
}

#ifndef _WIN32

TEST(AheadPrinter, PrintsTheItemsInOrder) {
  auto printer = AheadPrinter::Start(1000);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(1000);
  std::string expected;
  for (auto& line : lines) {
    expected += line->Vessik_IEntity_ToString(layers);
    EXPECT_TRUE(printer->Submit(line.get(), layers));
  }
  EXPECT_EQ(printer->Submitted(), 1000);
  printer->WaitFor(600);
  EXPECT_GE(printer->Printed(), 600);
  EXPECT_EQ(std::string(printer->TakeText().View()), expected);
  EXPECT_EQ(printer->Printed(), 1000);
}

// A line that takes a while to print, so that the reading side has to wait.
class Slow : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    Vessik_Line::AppendText(Text, Layers);
  }
};

// While the reading side waits for the printer to catch up, it gets the pages
// ahead of a text kept whole ready; the text is the same.
TEST(AheadPrinter, CatchingUpOnALongTextKeepsItWhole) {
  auto printer = AheadPrinter::Start(int64_t{16} << 20);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(20000);
  std::vector<Slow> slow(10);
  std::string expected;
  for (int i = 0; i < 20000; ++i) {
    Vessik_Line* line = lines[static_cast<size_t>(i)].get();
    if (i % 2000 == 0) line = &slow[static_cast<size_t>(i / 2000)];
    expected += line->Vessik_IEntity_ToString(layers);
    ASSERT_TRUE(printer->Submit(line, layers));
    if (i % 2000 == 1999) {
      printer->CatchUp(printer->Submitted());
      EXPECT_EQ(printer->Printed(), i + 1);
    }
  }
  EXPECT_EQ(std::string(printer->TakeText().View()), expected);
}

TEST(AheadPrinter, ItemThatFailsIsLeftOutWhole) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(2);
  Throws failing;
  printer->Submit(lines[0].get(), layers);
  printer->Submit(&failing, layers);
  printer->Submit(lines[1].get(), layers);
  EXPECT_EQ(std::string(printer->TakeText().View()),
            lines[0]->Vessik_IEntity_ToString(layers) + lines[1]->Vessik_IEntity_ToString(layers));
}

// Memory that runs out on the printing thread is no item's own failure: the
// reading side gets it back, whether it waits for the items or takes the text.
TEST(AheadPrinter, RunningOutOfMemoryReachesTheReadingSide) {
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(2);
  RunsOutOfMemory failing;
  {
    auto printer = AheadPrinter::Start(0);
    ASSERT_TRUE(printer);
    printer->Submit(lines[0].get(), layers);
    printer->Submit(&failing, layers);
    printer->Submit(lines[1].get(), layers);
    EXPECT_THROW(printer->WaitFor(3), std::bad_alloc);
  }
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  printer->Submit(&failing, layers);
  EXPECT_THROW(printer->TakeText(), std::bad_alloc);
}

TEST(AheadPrinter, EachItemSeesTheLayersOfItsOwnTime) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("FIRST");
  auto lines = Lines(2);
  lines[1]->Layer = 1;
  printer->Submit(lines[0].get(), layers);
  auto second = std::make_shared<Vessik_Layer>();
  second->Name = "SECOND";
  layers.push_back(second);
  printer->Submit(lines[1].get(), layers);
  const std::string text(printer->TakeText().View());
  EXPECT_NE(text.find("\tFIRST\t0\t"), std::string::npos);
  EXPECT_NE(text.find("\tSECOND\t1\t"), std::string::npos);
}

TEST(AheadPrinter, TooManyLayersLeaveTheRestToTheCaller) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers;
  for (int i = 0; i < 1024; ++i) {
    auto layer = std::make_shared<Vessik_Layer>();
    layer->Name = "L" + std::to_string(i);
    layers.push_back(layer);
  }
  auto lines = Lines(3);
  EXPECT_TRUE(printer->Submit(lines[0].get(), layers));
  layers.push_back(std::make_shared<Vessik_Layer>());
  EXPECT_FALSE(printer->Submit(lines[1].get(), layers));
  // Once refused, always refused: the items must stay in order.
  layers.pop_back();
  EXPECT_FALSE(printer->Submit(lines[2].get(), layers));
  EXPECT_EQ(printer->Submitted(), 1);
  EXPECT_EQ(std::string(printer->TakeText().View()), lines[0]->Vessik_IEntity_ToString(layers));
}

TEST(AheadPrinter, DroppedWithWorkLeftStopsCleanly) {
  Vessik_Layers layers = OneLayer("A");
  std::atomic<int> printed{0};
  std::vector<std::unique_ptr<Counted>> lines;
  for (int i = 0; i < 20000; ++i) lines.push_back(std::make_unique<Counted>(printed));
  {
    auto printer = AheadPrinter::Start(0);
    ASSERT_TRUE(printer);
    for (auto& line : lines) printer->Submit(line.get(), layers);
    printer->Flush();
  }
  // Once the printer is gone its thread has ended: no item is printed any more.
  const int atDrop = printed.load();
  EXPECT_LE(atDrop, 20000);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(printed.load(), atDrop);
  // The items are the caller's and still print as before.
  Vessik_Concat text;
  lines.back()->Vessik_Line::AppendText(text, layers);
  EXPECT_EQ(std::string(text.View()),
            "0\t83\tA\t0\t16777215\t0\t0\t0\t9999.5\t0\t0\t0\t0\t0\t0\t0\t0\t\r\n");
}

// A line that holds the printing thread until it is let go: the items handed
// over meanwhile pile up, and the printing then takes them as one long backlog.
class Gate : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    while (!open.load()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Vessik_Line::AppendText(Text, Layers);
  }
  std::atomic<bool> open{false};
};

// Prints the gate and then the items as one backlog; the expected text is that
// of each item printed on its own, those that fail left out.
std::string PrintBacklog(AheadPrinter& printer, Gate& gate, const std::vector<Vessik_Line*>& items,
                         const Vessik_Layers& layers, std::string& expected) {
  Vessik_Layers own = layers;
  Vessik_Concat gateText;
  gate.Vessik_Line::AppendText(gateText, own);
  expected = std::string(gateText.View());
  EXPECT_TRUE(printer.Submit(&gate, layers));
  for (Vessik_Line* item : items) {
    Vessik_Concat one;
    try {
      item->AppendText(one, own);
      expected += std::string(one.View());
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(printer.Submit(item, layers));
  }
  printer.Flush();
  gate.open.store(true);
  return std::string(printer.TakeText().View());
}

TEST(AheadPrinter, ALongBacklogComesOutInOrder) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(6000);
  std::vector<Vessik_Line*> items;
  for (auto& line : lines) items.push_back(line.get());
  Gate gate;
  std::string expected;
  EXPECT_EQ(PrintBacklog(*printer, gate, items, layers, expected), expected);
  EXPECT_EQ(printer->Printed(), 6001);
}

TEST(AheadPrinter, ALongBacklogIsToldOfAsItPrints) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(3000);
  Gate first;
  Gate second;
  ASSERT_TRUE(printer->Submit(&first, layers));
  for (size_t k = 0; k < lines.size(); ++k) {
    if (k == 2000) {
      ASSERT_TRUE(printer->Submit(&second, layers));
    }
    ASSERT_TRUE(printer->Submit(lines[k].get(), layers));
  }
  printer->Flush();
  first.open.store(true);
  // While the second gate holds, the items in front of it are printed and the
  // reading side hears of them a batch at a time, not only once all the backlog
  // taken with them is printed.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (printer->Printed() < 1700 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_GE(printer->Printed(), 1700);
  EXPECT_LE(printer->Printed(), 2001);
  second.open.store(true);
  printer->WaitFor(3002);
  EXPECT_EQ(printer->Printed(), 3002);
}

TEST(AheadPrinter, AnItemThatFailsInALongBacklogIsLeftOutWhole) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(3000);
  std::vector<Throws> failing(6);
  std::vector<Vessik_Line*> items;
  for (size_t k = 0; k < lines.size(); ++k) {
    // Failing items in the front and in the back half of several pieces.
    if (k % 500 == 300 || k % 500 == 450) items.push_back(&failing[k / 500]);
    items.push_back(lines[k].get());
  }
  Gate gate;
  std::string expected;
  EXPECT_EQ(PrintBacklog(*printer, gate, items, layers, expected), expected);
}

TEST(AheadPrinter, RunningOutOfMemoryInALongBacklogReachesTheReadingSide) {
  Vessik_Layers layers = OneLayer("A");
  auto lines = Lines(3000);
  for (size_t at : {size_t{100}, size_t{900}, size_t{2500}}) {
    SCOPED_TRACE(at);
    auto printer = AheadPrinter::Start(0);
    ASSERT_TRUE(printer);
    RunsOutOfMemory failing;
    Gate gate;
    printer->Submit(&gate, layers);
    for (size_t k = 0; k < lines.size(); ++k) {
      if (k == at) printer->Submit(&failing, layers);
      printer->Submit(lines[k].get(), layers);
    }
    printer->Flush();
    gate.open.store(true);
    EXPECT_THROW(printer->TakeText(), std::bad_alloc);
  }
}

TEST(AheadPrinter, NothingHandedOverGivesNoText) {
  auto printer = AheadPrinter::Start(0);
  ASSERT_TRUE(printer);
  printer->WaitFor(0);
  EXPECT_EQ(printer->TakeText().length(), 0);
}

#else

TEST(AheadPrinter, NotStartedOnWindows) {
  EXPECT_FALSE(AheadPrinter::Start(0));
}

#endif

}  // namespace
}  // namespace vessik
