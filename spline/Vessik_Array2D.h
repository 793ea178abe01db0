// A small rectangular array of doubles, indexed from 0 in both directions. The
// evaluator keeps its work arrays in these and refills them in place, so that a
// curve point costs no allocation once the sizes have been seen.
#pragma once

#include <cstdint>
#include <vector>

#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"

namespace vessik {

class Vessik_Array2D {
 public:
  // The most elements one array may have: 2^28 doubles, 2 GiB. The evaluator's
  // largest array is (p + 1) x (p + 1) for a degree p that real curves keep
  // below a few dozen; the limit is far above that. Above it the allocator is not
  // asked at all: whether it would give that much depends on the machine, and a
  // checked build stops where an unchecked one throws, so the answer has to be
  // the same fixed 7 everywhere.
  static constexpr int64_t kMaxElements = int64_t{1} << 28;

  // Sizes the array to rows x cols and fills it with 0. The sizes come wide, so
  // that a caller's p + 1 cannot overflow on the way in; a size below 0 leaves
  // the array empty. More than kMaxElements raises 7, the failure of an
  // allocation.
  void Reset(int64_t rows, int64_t cols) {
    Size(rows, cols);
    data_.assign(data_.size(), 0.0);
  }
  // Sizes the array as Reset does, with the same failures, but leaves its content
  // to the caller: for arrays that are written in full before they are read.
  void Size(int64_t rows, int64_t cols) {
    const int64_t r = rows < 0 ? 0 : rows;
    const int64_t c = cols < 0 ? 0 : cols;
    // Each side checked alone first, so that the product below cannot overflow.
    if (r > kMaxElements || c > kMaxElements || r * c > kMaxElements) {
      RaisePlatformError(errnum::OutOfMemory);
    }
    rows_ = static_cast<int32_t>(r);
    cols_ = static_cast<int32_t>(c);
    data_.resize(static_cast<size_t>(r * c));
  }
  int32_t Rows() const { return rows_; }
  int32_t Cols() const { return cols_; }
  // Row r as a plain pointer, for a loop whose own bounds keep it within the row;
  // a row outside the array raises 9.
  double* Row(int32_t r) { return data_.data() + Index(r, 0); }
  // A position outside the array raises 9, never a read out of bounds.
  double& operator()(int32_t r, int32_t c) { return data_[Index(r, c)]; }
  double operator()(int32_t r, int32_t c) const { return data_[Index(r, c)]; }

 private:
  size_t Index(int32_t r, int32_t c) const {
    if (r < 0 || r >= rows_ || c < 0 || c >= cols_) {
      RaisePlatformError(errnum::SubscriptOutOfRange);
    }
    return static_cast<size_t>(r) * static_cast<size_t>(cols_) + static_cast<size_t>(c);
  }
  int32_t rows_ = 0;
  int32_t cols_ = 0;
  BudgetVector<double> data_;
};

}  // namespace vessik
