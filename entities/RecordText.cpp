#include "entities/RecordText.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>

#include "parser/Vessik_Convert.h"

namespace vessik {
namespace {

thread_local RecordForm t_form = RecordForm::Text;

char* WriteLong(char* out, int64_t value) {
  // Record types, layer numbers and most colours have one or two digits.
  if (static_cast<uint64_t>(value) < 10) {
    *out = static_cast<char>('0' + value);
    return out + 1;
  }
  if (static_cast<uint64_t>(value) < 100) {
    out[0] = static_cast<char>('0' + value / 10);
    out[1] = static_cast<char>('0' + value % 10);
    return out + 2;
  }
  return std::to_chars(out, out + 24, value).ptr;
}

void AppendNumbers(Vessik_Concat& Text, const RecordHead& head, std::string_view LayerName,
                   const double (&Columns)[12]) {
  char room[kRecordHeadBytes + kRecordColumnsBytes];
  std::memcpy(room, &head, kRecordHeadBytes);
  std::memcpy(room + kRecordHeadBytes, Columns, kRecordColumnsBytes);
  Text.Concat(std::string_view(room, sizeof room));
  Text.Concat(LayerName);
}

}  // namespace

RecordForm CurrentRecordForm() {
  return t_form;
}

RecordFormScope::RecordFormScope(RecordForm form) : outer_(t_form) {
  t_form = form;
}

RecordFormScope::~RecordFormScope() {
  t_form = outer_;
}

void AppendRecord(Vessik_Concat& Text, int64_t Id, int32_t RecordType, std::string_view LayerName,
                  int32_t LayerId, int32_t LayerColor, const double (&Columns)[12]) {
  if (t_form == RecordForm::Numbers) {
    const RecordHead head{Id, RecordType, LayerId, LayerColor,
                          static_cast<uint32_t>(LayerName.size())};
    return AppendNumbers(Text, head, LayerName, Columns);
  }
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

std::string RecordText(int64_t Id, int32_t RecordType, std::string_view LayerName, int32_t LayerId,
                       int32_t LayerColor, const double (&Columns)[12]) {
  Vessik_Concat text;
  AppendRecord(text, Id, RecordType, LayerName, LayerId, LayerColor, Columns);
  return text.TakeValue();
}

}  // namespace vessik
