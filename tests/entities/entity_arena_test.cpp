#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "entities/EntityArena.h"
#include "entities/Vessik_Line.h"

namespace vessik {
namespace {

// Runs f on a thread of its own, which starts with no chunk of its own.
template <class F>
void OnFreshThread(F f) {
  std::thread t(f);
  t.join();
}

// count blocks of size bytes, made on a fresh thread that then ends.
std::vector<void*> AllocateOnFreshThread(int count, size_t size) {
  std::vector<void*> blocks;
  OnFreshThread([&] {
    for (int i = 0; i < count; ++i) blocks.push_back(AllocateEntity(size));
  });
  return blocks;
}

TEST(EntityArena, BlocksAreAlignedAndDistinct) {
  OnFreshThread([] {
    void* a = AllocateEntity(8);
    void* b = AllocateEntity(96);
    void* c = AllocateEntity(1);
    for (void* p : {a, b, c}) {
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(std::max_align_t), 0u);
    }
    EXPECT_GE(static_cast<char*>(b) - static_cast<char*>(a), 8);
    EXPECT_GE(static_cast<char*>(c) - static_cast<char*>(b), 96);
    std::memset(b, 0x5A, 96);
    FreeEntity(a, 8);
    FreeEntity(b, 96);
    FreeEntity(c, 1);
  });
}

TEST(EntityArena, ChunkIsKeptWhenItsLastObjectGoesAndFreedOnRequest) {
  FreeKeptEntityChunks();
  const size_t before = EntityChunks();
  const std::vector<void*> blocks = AllocateOnFreshThread(10, 100);
  // The thread is gone; its chunk stays while objects live in it.
  EXPECT_EQ(EntityChunks(), before + 1);
  for (size_t i = 0; i + 1 < blocks.size(); ++i) FreeEntity(blocks[i], 100);
  EXPECT_EQ(EntityChunks(), before + 1);
  FreeEntity(blocks.back(), 100);
  // Emptied, it is kept for the next objects until the kept ones are freed.
  EXPECT_EQ(EntityChunks(), before + 1);
  FreeKeptEntityChunks();
  EXPECT_EQ(EntityChunks(), before);
}

TEST(EntityArena, KeptChunkIsUsedAgain) {
  FreeKeptEntityChunks();
  void* first = nullptr;
  OnFreshThread([&] {
    first = AllocateEntity(64);
    FreeEntity(first, 64);
  });
  const size_t before = EntityChunks();
  OnFreshThread([&] {
    void* again = AllocateEntity(64);
    // The same chunk, so the same first place in it.
    EXPECT_EQ(again, first);
    EXPECT_EQ(EntityChunks(), before);
    std::memset(again, 7, 64);
    FreeEntity(again, 64);
  });
  FreeKeptEntityChunks();
}

TEST(EntityArena, AtMostEightChunksAreKept) {
  FreeKeptEntityChunks();
  const size_t before = EntityChunks();
  // Twelve chunks' worth of objects of 2 KB.
  const std::vector<void*> blocks = AllocateOnFreshThread(12 * 1000, 2048);
  EXPECT_GE(EntityChunks(), before + 12);
  for (void* p : blocks) FreeEntity(p, 2048);
  EXPECT_EQ(EntityChunks(), before + 8);
  FreeKeptEntityChunks();
  EXPECT_EQ(EntityChunks(), before);
}

TEST(EntityArena, FullChunkIsReplacedAndFreedByAnotherThread) {
  FreeKeptEntityChunks();
  const size_t before = EntityChunks();
  // More than one 2 MB chunk of objects.
  const std::vector<void*> blocks = AllocateOnFreshThread(30000, 128);
  EXPECT_EQ(EntityChunks(), before + 2);
  OnFreshThread([&] {
    for (void* p : blocks) FreeEntity(p, 128);
  });
  FreeKeptEntityChunks();
  EXPECT_EQ(EntityChunks(), before);
}

TEST(EntityArena, FreesInABatchAreSettledWhenItEnds) {
  FreeKeptEntityChunks();
  const size_t before = EntityChunks();
  // Two chunks' worth, so that the batch meets a change of chunk on the way.
  const std::vector<void*> blocks = AllocateOnFreshThread(20000, 160);
  EXPECT_EQ(EntityChunks(), before + 2);
  {
    EntityFreeBatch outer;
    {
      EntityFreeBatch inner;
      for (void* p : blocks) FreeEntity(p, 160);
    }
    // The first chunk was settled when the run moved on to the second; the second
    // waits for the outermost batch.
    FreeKeptEntityChunks();
    EXPECT_EQ(EntityChunks(), before + 1);
  }
  FreeKeptEntityChunks();
  EXPECT_EQ(EntityChunks(), before);
}

TEST(EntityArena, LargeObjectsUseTheGeneralAllocator) {
  OnFreshThread([] {
    const size_t before = EntityChunks();
    void* p = AllocateEntity(100000);
    std::memset(p, 1, 100000);
    EXPECT_EQ(EntityChunks(), before);
    FreeEntity(p, 100000);
    FreeEntity(nullptr, 10);
  });
}

TEST(EntityArena, EntitiesAreMadeThere) {
  FreeKeptEntityChunks();
  const size_t before = EntityChunks();
  OnFreshThread([before] {
    auto line = std::make_unique<Vessik_Line>();
    line->X2 = 5;
    EXPECT_EQ(EntityChunks(), before + 1);
    line.reset();
    // The chunk being filled stays with the thread until it ends.
    EXPECT_EQ(EntityChunks(), before + 1);
  });
  FreeKeptEntityChunks();
  EXPECT_EQ(EntityChunks(), before);
}

}  // namespace
}  // namespace vessik
