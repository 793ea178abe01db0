#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "parser/Vessik_Concat.h"

namespace vessik {

// One output record: Id (a 32-bit handle number, or an unsigned handle in the
// true-geometry mode), record type, layer name, layer index, colour, then the
// twelve number columns X1, Y1, Z1, X2, Y2, Z2, CX, CY, CZ, R, SA, EA; every column
// closed by a TAB, the line by CR LF. A column a record type does not use holds 0,
// which prints as "0".
void AppendRecord(Vessik_Concat& Text, int64_t Id, int32_t RecordType, std::string_view LayerName,
                  int32_t LayerId, int32_t LayerColor, const double (&Columns)[12]);

// How AppendRecord writes a record on this thread: as its line of text, or as its
// numbers for a host that takes the records as such. The numbers form is the
// columns' values themselves, so nothing is lost to the 15 digits of the text:
// a RecordHead, the twelve doubles, then the layer name's bytes.
enum class RecordForm { Text, Numbers };
struct RecordHead {
  int64_t Id;
  int32_t RecordType;
  int32_t LayerId;
  int32_t LayerColor;
  uint32_t NameBytes;
};
inline constexpr size_t kRecordHeadBytes = sizeof(RecordHead);
inline constexpr size_t kRecordColumnsBytes = 12 * sizeof(double);

RecordForm CurrentRecordForm();

// Sets the form for this thread for its lifetime (a printing thread takes the
// form of the thread that started it).
class RecordFormScope {
 public:
  explicit RecordFormScope(RecordForm form);
  ~RecordFormScope();
  RecordFormScope(const RecordFormScope&) = delete;
  RecordFormScope& operator=(const RecordFormScope&) = delete;

 private:
  RecordForm outer_;
};

// The same record as a text of its own.
std::string RecordText(int64_t Id, int32_t RecordType, std::string_view LayerName, int32_t LayerId,
                       int32_t LayerColor, const double (&Columns)[12]);

}  // namespace vessik
