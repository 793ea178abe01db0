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
  // Sizes the array to rows x cols and fills it with 0.
  void Reset(int32_t rows, int32_t cols) {
    rows_ = rows < 0 ? 0 : rows;
    cols_ = cols < 0 ? 0 : cols;
    data_.assign(static_cast<size_t>(rows_) * static_cast<size_t>(cols_), 0.0);
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
