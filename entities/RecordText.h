#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "parser/Vessik_Concat.h"

namespace vessik {

// One output record: Id, record type, layer name, layer index, colour, then the
// twelve number columns X1, Y1, Z1, X2, Y2, Z2, CX, CY, CZ, R, SA, EA; every column
// closed by a TAB, the line by CR LF. A column a record type does not use holds 0,
// which prints as "0".
void AppendRecord(Vessik_Concat& Text, int32_t Id, int32_t RecordType, std::string_view LayerName,
                  int32_t LayerId, int32_t LayerColor, const double (&Columns)[12]);

// The same record as a text of its own.
std::string RecordText(int32_t Id, int32_t RecordType, std::string_view LayerName, int32_t LayerId,
                       int32_t LayerColor, const double (&Columns)[12]);

}  // namespace vessik
