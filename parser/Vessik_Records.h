// The records of a drawing as numbers, for hosts that would otherwise split the
// text and read its numbers back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Vessik_CommonData.h"
#include "Vessik_Parser.h"
#include "Vessik_Progress.h"

namespace vessik {

/// One record: the columns of one line of the text, the layer name apart. The
/// doubles are the values the line was printed from, at full precision.
struct Vessik_Record {
  /// The source entity's handle as a number; 0 if it has none.
  int64_t Id;
  /// 83 straight segment, 66 arc, 75 circle.
  int32_t RecordType;
  /// Index of the record's layer in Vessik_Parser::Layers (from 0).
  int32_t LayerId;
  /// red + 256 * green + 65536 * blue; -1 for an own colour "by layer", 0 "by block".
  int32_t LayerColor;
  /// Unused; keeps the doubles aligned.
  int32_t Reserved;
  /// Start, end, centre, radius, start and end angle in degrees; a circle's start
  /// and end are the corners of its box, as in the text.
  double X1, Y1, Z1, X2, Y2, Z2, CX, CY, CZ, R, SA, EA;
};

/// The records of one parse in the order of the text, with their layer names.
class Vessik_Records {
 public:
  /// The records, in order.
  std::vector<Vessik_Record> Items;

  /// Number of records.
  size_t size() const { return Items.size(); }
  /// The layer name that the record at this position (from 0) prints.
  std::string_view LayerName(size_t index) const { return names_[nameOf_[index]]; }
  /// The text Parse2 gives for the same drawing, byte for byte: each record
  /// printed as its line, with the current locale's decimal separator.
  std::string Text() const;

  /// Reads records back from their numbers form (internal to the library).
  static Vessik_Records FromNumbers(std::string_view numbers);

 private:
  std::vector<uint32_t> nameOf_;
  std::vector<std::string> names_;
};

/// Parse2, with the records returned as numbers rather than as text. The same
/// failures; a cancelled parse gives no records. Parser.Layers() afterwards holds
/// the layers the records' LayerId counts in.
Vessik_Records ParseRecords(Vessik_Parser& Parser, const std::string& TheFile,
                            Vessik_CommonData& Data, Vessik_Progress& Progress);

}  // namespace vessik
