#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "parser/GroupPairs.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::FailureNumber;

}  // namespace

TEST(GroupPairTable, ReadingOutsideFails9) {
  GroupPairs().Assign({{0, "SECTION"}, {2, "X"}});
  EXPECT_EQ(GroupPairs().Count(), 2);
  EXPECT_EQ(GroupPairs().UBound(), 1);
  EXPECT_EQ(GroupPairs().Code(1), 2);
  EXPECT_EQ(GroupPairs().Value(1), "X");
  EXPECT_EQ(FailureNumber([] { GroupPairs().Code(2); }), 9);
  EXPECT_EQ(FailureNumber([] { GroupPairs().Value(-1); }), 9);
  GroupPairs().Clear();
  EXPECT_EQ(GroupPairs().UBound(), -1);
  EXPECT_EQ(FailureNumber([] { GroupPairs().Value(0); }), 9);
}

}  // namespace vessik

namespace vessik {

TEST(GroupPairTable, APartJoinedBehindKeepsItsOrderWideEntriesAndBounds) {
  const std::string bytes = "AB" + std::string(70000, 'L') + "C";
  const std::string_view b = bytes;
  GroupPairTable& t = GroupPairs();
  t.Reset(2);
  t.Add(0, 0, b.substr(0, 1));
  t.Add(100000, 1, b.substr(1, 1));
  GroupPairTable::Part part;
  part.Reserve(2);
  part.Add(-40000, 2, b.substr(2, 70000));
  part.Add(5, 70002, b.substr(70002, 1));
  t.Join(std::move(part));
  t.AdoptBytes(FileBytes(bytes));
  ASSERT_EQ(t.Count(), 4);
  EXPECT_EQ(t.Code(0), 0);
  EXPECT_EQ(t.Value(0), "A");
  EXPECT_EQ(t.Code(1), 100000);
  EXPECT_EQ(t.Code(2), -40000);
  EXPECT_EQ(t.Value(2).size(), 70000u);
  EXPECT_EQ(t.Code(3), 5);
  EXPECT_EQ(t.Value(3), "C");
  EXPECT_EQ(FailureNumber([&] { t.Code(4); }), 9);
  // Both at once give the same, wide entries and bounds included.
  for (int32_t i = 0; i < 4; ++i) {
    const GroupPair pair = t[i];
    EXPECT_EQ(pair.Code, t.Code(i));
    EXPECT_EQ(pair.Value, t.Value(i));
    EXPECT_EQ(pair.Value.data(), t.Value(i).data());
  }
  EXPECT_EQ(FailureNumber([&] { (void)t[4]; }), 9);
  EXPECT_EQ(FailureNumber([&] { (void)t[-1]; }), 9);
  // Nothing is added in front of a joined part.
  EXPECT_EQ(FailureNumber([&] { t.Add(1, 0, b.substr(0, 1)); }), 9);
  // Reading after a release across both parts still works where it was not
  // released.
  t.ReleaseRead(0, 3);
  EXPECT_EQ(t.Value(3), "C");
  t.Clear();
  EXPECT_EQ(t.Count(), 0);
}

}  // namespace vessik

namespace vessik {

TEST(GroupPairTable, SectionMarksAreTheExactKeywordsOfBothPartsInOrder) {
  // "SECTION" and "ENDSEC" whatever the code; near misses are no marks.
  const std::string bytes = "SECTIONENDSECSECTIONXsectionENDSECSECTIONENDSE";
  const std::string_view b = bytes;
  GroupPairTable& t = GroupPairs();
  t.Reset(4);
  t.Add(0, 0, b.substr(0, 7));    // SECTION
  t.Add(2, 7, b.substr(7, 6));    // ENDSEC
  t.Add(0, 13, b.substr(13, 8));  // SECTIONX
  t.Add(0, 21, b.substr(21, 7));  // section
  GroupPairTable::Part part;
  part.Add(9, 28, b.substr(28, 6));  // ENDSEC
  part.Add(0, 34, b.substr(34, 7));  // SECTION
  part.Add(0, 41, b.substr(41, 5));  // ENDSE
  t.Join(std::move(part));
  t.AdoptBytes(FileBytes(bytes));
  EXPECT_EQ(t.SectionMarks(), (std::vector<int32_t>{0, 1, 4, 5}));
  t.Clear();
  EXPECT_TRUE(t.SectionMarks().empty());
  t.Assign({{0, "ENDSEC"}, {2, "X"}, {0, "SECTION"}, {0, ""}});
  EXPECT_EQ(t.SectionMarks(), (std::vector<int32_t>{0, 2}));
  t.Clear();
}

}  // namespace vessik
