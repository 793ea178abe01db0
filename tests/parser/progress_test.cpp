#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "parser/Vessik_Progress.h"

namespace vessik {

TEST(VessikProgress, NewIsNotCanceled) {
  Vessik_Progress p;
  EXPECT_FALSE(p.IsCanceled());
  p.IsCanceled(true);
  EXPECT_TRUE(p.IsCanceled());
  p.IsCanceled(false);
  EXPECT_FALSE(p.IsCanceled());
}

TEST(VessikProgress, EventGoesToEveryHandler) {
  Vessik_Progress p;
  std::vector<int32_t> a;
  std::vector<int32_t> b;
  int ca = p.Connect([&](int32_t v) { a.push_back(v); });
  p.Connect([&](int32_t v) { b.push_back(v); });
  p.DoProgress(62);
  p.DoProgress(-5);
  p.DoProgress(1000);
  EXPECT_EQ(a, (std::vector<int32_t>{62, -5, 1000}));
  EXPECT_EQ(b, (std::vector<int32_t>{62, -5, 1000}));
  p.Disconnect(ca);
  p.DoProgress(7);
  EXPECT_EQ(a.size(), 3u);
  EXPECT_EQ(b.back(), 7);
}

TEST(VessikProgress, NoHandlerNoEvent) {
  Vessik_Progress p;
  p.DoProgress(50);
  int calls = 0;
  int cookie = p.Connect([&](int32_t) { ++calls; });
  p.Disconnect(cookie);
  p.DoProgress(50);
  EXPECT_EQ(calls, 0);
}

}  // namespace vessik
