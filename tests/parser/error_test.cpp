// The catalogue of failures is the one source of their numbers and words: the
// constants, the raising code, the C header and the README's table agree with it.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/c/vessik.h"
#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

std::string Hex(int32_t number) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", static_cast<unsigned>(number));
  return buf;
}

TEST(ErrorCatalogue, NamesAreUniqueAndRowsOrderedByNumber) {
  std::set<std::string_view> names;
  int64_t previous = -1;
  for (const ErrorInfo& e : ErrorCatalogue()) {
    EXPECT_TRUE(names.insert(e.Name).second) << e.Name;
    const int64_t key = static_cast<uint32_t>(e.Number);
    EXPECT_LE(previous, key) << e.Name;
    previous = key;
    EXPECT_FALSE(e.Text.empty()) << e.Name;
    EXPECT_FALSE(e.RaisedWhen.empty()) << e.Name;
  }
  EXPECT_EQ(ErrorCatalogue().size(), 16u);
}

TEST(ErrorCatalogue, ConstantsAndCHeaderAgree) {
  const std::vector<std::tuple<std::string_view, int32_t, int32_t>> rows{
      {"InvalidProcedureCall", errnum::InvalidProcedureCall, VESSIK_E_INVALID_CALL},
      {"Overflow", errnum::Overflow, VESSIK_E_OVERFLOW},
      {"OutOfMemory", errnum::OutOfMemory, VESSIK_E_OUT_OF_MEMORY},
      {"SubscriptOutOfRange", errnum::SubscriptOutOfRange, VESSIK_E_SUBSCRIPT},
      {"DivisionByZero", errnum::DivisionByZero, VESSIK_E_DIVISION_BY_ZERO},
      {"TypeMismatch", errnum::TypeMismatch, VESSIK_E_TYPE_MISMATCH},
      {"OutOfStackSpace", errnum::OutOfStackSpace, VESSIK_E_OUT_OF_STACK},
      {"FileNotFound", errnum::FileNotFound, VESSIK_E_FILE_NOT_FOUND},
      {"PathFileAccess", errnum::PathFileAccess, VESSIK_E_PATH_ACCESS},
      {"ObjectNotSet", errnum::ObjectNotSet, VESSIK_E_OBJECT_NOT_SET},
      {"SectionNotFound", errnum::SectionNotFound, VESSIK_E_SECTION_NOT_FOUND},
      {"ParsingFailed", errnum::ParsingFailed, VESSIK_E_PARSING_FAILED},
      {"InsertComponent", errnum::InsertComponent, VESSIK_E_INSERT_COMPONENT},
      {"TooManyIterations", errnum::TooManyIterations, VESSIK_E_TOO_MANY_ITERATIONS},
      {"InvalidSpan", errnum::InvalidSpan, VESSIK_E_INVALID_SPAN},
  };
  for (const auto& [name, constant, cValue] : rows) {
    EXPECT_EQ(CataloguedError(name).Number, constant) << name;
    EXPECT_EQ(cValue, constant) << name;
  }
  EXPECT_EQ(CataloguedError("InStrCountStart").Number, VESSIK_E_INVALID_CALL);
  EXPECT_THROW(CataloguedError("NoSuchFailure"), std::out_of_range);
}

TEST(ErrorCatalogue, TheLibrarysOwnWords) {
  EXPECT_EQ(Hex(errnum::SectionNotFound), "0x80040001");
  EXPECT_EQ(Hex(errnum::ParsingFailed), "0x80040003");
  EXPECT_EQ(Hex(errnum::InsertComponent), "0x80040064");
  EXPECT_EQ(Hex(errnum::TooManyIterations), "0x80040065");
  EXPECT_EQ(Hex(errnum::InvalidSpan), "0x80040066");
  EXPECT_EQ(CataloguedError("SectionNotFound").Text, "SECTION tag not found. DXF file is invalid.");
  EXPECT_EQ(CataloguedError("TooManyIterations").Text, "Iterations above 10000 reduce tolerance.");
  EXPECT_EQ(CataloguedError("InvalidSpan").Text, "Invalid span variable.");
  EXPECT_EQ(CataloguedError("InsertComponent").Source,
            "Rendak.Vessik_Insert.Vessik_IEntity_Release");
  EXPECT_EQ(CataloguedError("InsertComponent").Text, "Vessik_Insert component failure");
  EXPECT_EQ(CataloguedError("InStrCountStart").Source, "InStrCount Function");
  EXPECT_EQ(CataloguedError("InStrCountStart").Text, "Start can't be smaller than 1");
}

Vessik_Error Converted(const std::function<void()>& raise) {
  try {
    raise();
  } catch (...) {
    return CurrentErrorAsVessik();
  }
  return Vessik_Error(0, "", "");
}

TEST(CurrentErrorAsVessik, EveryAllocationFailureIsOutOfMemory) {
  for (const auto& raise : std::vector<std::function<void()>>{
           [] { throw std::bad_alloc(); },
           [] { throw std::length_error("vector::_M_fill_assign"); },
           [] {
             std::vector<double> v;
             v.reserve(v.max_size() + 1);
           },
       }) {
    const Vessik_Error e = Converted(raise);
    EXPECT_EQ(e.Number(), 7);
    EXPECT_EQ(e.Description(), "Out of memory");
    EXPECT_EQ(e.Source(), "");
  }
}

TEST(CurrentErrorAsVessik, OtherFailuresAreInvalidCallAndOwnOnesStay) {
  Vessik_Error e = Converted([] { throw std::out_of_range("x"); });
  EXPECT_EQ(e.Number(), 5);
  EXPECT_EQ(e.Description(), "Invalid procedure call or argument");
  e = Converted([] { RaisePlatformError(errnum::SubscriptOutOfRange); });
  EXPECT_EQ(e.Number(), 9);
  EXPECT_EQ(e.Description(), "Subscript out of range");
}

TEST(ErrorCatalogue, RaisingAppendsTheDetail) {
  try {
    RaiseCatalogued(CataloguedError("ParsingFailed"), "12");
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), errnum::ParsingFailed);
    EXPECT_EQ(e.Source(), "");
    EXPECT_EQ(e.Description(), "Error during parsing of DXF file at line #12");
  }
  try {
    RaiseCatalogued(CataloguedError("InsertComponent"));
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), errnum::InsertComponent);
    EXPECT_EQ(e.Source(), "Rendak.Vessik_Insert.Vessik_IEntity_Release");
    EXPECT_EQ(e.Description(), "Vessik_Insert component failure");
  }
}

// The README's table of failures, row by row, as the catalogue gives it:
// | number | hex | name | source | description | raised when |
TEST(ErrorCatalogue, ReadmeTableIsTheCatalogue) {
  std::ifstream in(std::string(VESSIK_SOURCE_DIR) + "/README.md");
  ASSERT_TRUE(in) << "README.md not found";
  std::vector<std::string> table;
  std::string line;
  bool inSection = false;
  while (std::getline(in, line)) {
    if (line.rfind("## ", 0) == 0) inSection = line == "## Failures";
    if (inSection && line.rfind("| ", 0) == 0 && line.size() > 2 &&
        (std::isdigit(static_cast<unsigned char>(line[2])) != 0 || line[2] == '-')) {
      table.push_back(line);
    }
  }
  std::vector<std::string> expected;
  for (const ErrorInfo& e : ErrorCatalogue()) {
    std::string row = "| " + std::to_string(e.Number) + " | " + Hex(e.Number) + " | " +
                      std::string(e.Name) + " | " +
                      (e.Source.empty() ? std::string() : "`" + std::string(e.Source) + "`") +
                      " | " + std::string(e.Text) + " | " + std::string(e.RaisedWhen) + " |";
    expected.push_back(row);
  }
  EXPECT_EQ(table, expected);
}

TEST(VessikError, PlatformWords) {
  EXPECT_EQ(PlatformErrorText(5), "Invalid procedure call or argument");
  EXPECT_EQ(PlatformErrorText(6), "Overflow");
  EXPECT_EQ(PlatformErrorText(7), "Out of memory");
  EXPECT_EQ(PlatformErrorText(9), "Subscript out of range");
  EXPECT_EQ(PlatformErrorText(11), "Division by zero");
  EXPECT_EQ(PlatformErrorText(13), "Type mismatch");
  EXPECT_EQ(PlatformErrorText(28), "Out of stack space");
  EXPECT_EQ(PlatformErrorText(53), "File not found");
  EXPECT_EQ(PlatformErrorText(75), "Path/File access error");
  EXPECT_EQ(PlatformErrorText(91), "Object variable or With block variable not set");
  try {
    RaisePlatformError(13);
    ADD_FAILURE() << "no failure raised";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Source(), "");
    EXPECT_EQ(e.Description(), "Type mismatch");
    EXPECT_STREQ(e.what(), "Type mismatch");
  }
}

}  // namespace
}  // namespace vessik
