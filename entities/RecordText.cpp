#include "entities/RecordText.h"

#include "parser/Vessik_Convert.h"

namespace vessik {

std::string RecordText(int32_t Id, int32_t RecordType, std::string_view LayerName, int32_t LayerId,
                       int32_t LayerColor, const double (&Columns)[12]) {
  std::string s;
  s.reserve(LayerName.size() + 200);
  AppendLong(s, Id);
  s += '\t';
  AppendLong(s, RecordType);
  s += '\t';
  s += LayerName;
  s += '\t';
  AppendLong(s, LayerId);
  s += '\t';
  AppendLong(s, LayerColor);
  for (double v : Columns) {
    s += '\t';
    AppendDouble(s, v);
  }
  s += "\t\r\n";
  return s;
}

}  // namespace vessik
