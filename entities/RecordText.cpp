#include "entities/RecordText.h"

#include <charconv>
#include <cstring>
#include <string>

#include "parser/Vessik_Convert.h"

namespace vessik {
namespace {

char* WriteLong(char* out, int32_t value) {
  return std::to_chars(out, out + 16, value).ptr;
}

}  // namespace

void AppendRecord(Vessik_Concat& Text, int32_t Id, int32_t RecordType, std::string_view LayerName,
                  int32_t LayerId, int32_t LayerColor, const double (&Columns)[12]) {
  const std::string_view sep = DecimalSeparator();
  // The numbers are written into one piece of room and appended at once.
  constexpr size_t kColumns = 12;
  // A short layer name goes into the same room.
  constexpr size_t kShortName = 128;
  const size_t needed = kColumns * (MaxDoubleChars(sep) + 1) + 3 * 17 + 3 + kShortName;
  char room[1024];
  std::string large;
  char* buf = room;
  if (needed > sizeof room) {
    large.resize(needed);
    buf = large.data();
  }
  char* p = WriteLong(buf, Id);
  *p++ = '\t';
  p = WriteLong(p, RecordType);
  *p++ = '\t';
  if (LayerName.size() <= kShortName) {
    std::memcpy(p, LayerName.data(), LayerName.size());
    p += LayerName.size();
  } else {
    Text.Concat(std::string_view(buf, static_cast<size_t>(p - buf)));
    Text.Concat(LayerName);
    p = buf;
  }
  *p++ = '\t';
  p = WriteLong(p, LayerId);
  *p++ = '\t';
  p = WriteLong(p, LayerColor);
  for (double v : Columns) {
    *p++ = '\t';
    p = WriteDouble(p, v, sep);
  }
  *p++ = '\t';
  *p++ = '\r';
  *p++ = '\n';
  Text.Concat(std::string_view(buf, static_cast<size_t>(p - buf)));
}

std::string RecordText(int32_t Id, int32_t RecordType, std::string_view LayerName, int32_t LayerId,
                       int32_t LayerColor, const double (&Columns)[12]) {
  Vessik_Concat text;
  AppendRecord(text, Id, RecordType, LayerName, LayerId, LayerColor, Columns);
  return text.TakeValue();
}

}  // namespace vessik
