// A small rectangular array of doubles, indexed from 0 in both directions. The
// evaluator keeps its work arrays in these and refills them in place, so that a
// curve point costs no allocation once the sizes have been seen.
#pragma once

#include <cstdint>
#include <vector>

#include "parser/Vessik_Error.h"

namespace vessik {

class Vessik_Array2D {
 public:
  // Sizes the array to rows x cols and fills it with 0. The sizes come wide, so
  // that a caller's p + 1 cannot overflow on the way in; a size below 0 leaves
  // the array empty. A size that no memory can hold raises 7, the failure of an
  // allocation, before anything is asked of the allocator.
  void Reset(int64_t rows, int64_t cols) {
    const int64_t r = rows < 0 ? 0 : rows;
    const int64_t c = cols < 0 ? 0 : cols;
    if (r > INT32_MAX || c > INT32_MAX) RaisePlatformError(errnum::OutOfMemory);
    const size_t count = static_cast<size_t>(r) * static_cast<size_t>(c);
    if (r != 0 && count / static_cast<size_t>(r) != static_cast<size_t>(c)) {
      RaisePlatformError(errnum::OutOfMemory);
    }
    if (count > data_.max_size()) RaisePlatformError(errnum::OutOfMemory);
    rows_ = static_cast<int32_t>(r);
    cols_ = static_cast<int32_t>(c);
    data_.assign(count, 0.0);
  }
  int32_t Rows() const { return rows_; }
  int32_t Cols() const { return cols_; }
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
  std::vector<double> data_;
};

}  // namespace vessik
