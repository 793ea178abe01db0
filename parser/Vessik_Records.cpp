#include "parser/Vessik_Records.h"

#include <cstddef>
#include <cstring>
#include <unordered_map>

#include "entities/RecordText.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Error.h"

namespace vessik {

static_assert(sizeof(Vessik_Record) == 24 + kRecordColumnsBytes &&
                  offsetof(Vessik_Record, X1) == 24,
              "a record is its Id, three integers, a reserved one and the twelve columns");

std::string Vessik_Records::Text() const {
  Vessik_Concat text;
  for (size_t i = 0; i < Items.size(); ++i) {
    const Vessik_Record& r = Items[i];
    double columns[12];
    std::memcpy(columns, &r.X1, sizeof columns);
    AppendRecord(text, r.Id, r.RecordType, LayerName(i), r.LayerId, r.LayerColor, columns);
  }
  return text.TakeValue();
}

Vessik_Records Vessik_Records::FromNumbers(std::string_view numbers) {
  Vessik_Records result;
  // Most drawings use a handful of layer names: each is kept once.
  std::unordered_map<std::string_view, uint32_t> known;
  size_t at = 0;
  while (at < numbers.size()) {
    RecordHead head;
    if (numbers.size() - at < kRecordHeadBytes + kRecordColumnsBytes) {
      RaisePlatformError(errnum::SubscriptOutOfRange);
    }
    std::memcpy(&head, numbers.data() + at, kRecordHeadBytes);
    at += kRecordHeadBytes;
    Vessik_Record& r = result.Items.emplace_back();
    r.Id = head.Id;
    r.RecordType = head.RecordType;
    r.LayerId = head.LayerId;
    r.LayerColor = head.LayerColor;
    r.Reserved = 0;
    std::memcpy(&r.X1, numbers.data() + at, kRecordColumnsBytes);
    at += kRecordColumnsBytes;
    if (numbers.size() - at < head.NameBytes) RaisePlatformError(errnum::SubscriptOutOfRange);
    const std::string_view name = numbers.substr(at, head.NameBytes);
    at += head.NameBytes;
    auto [it, added] = known.try_emplace(name, static_cast<uint32_t>(result.names_.size()));
    if (added) result.names_.emplace_back(name);
    result.nameOf_.push_back(it->second);
  }
  return result;
}

Vessik_Records ParseRecords(Vessik_Parser& Parser, const std::string& TheFile,
                            Vessik_CommonData& Data, Vessik_Progress& Progress) {
  std::string numbers;
  {
    RecordFormScope form(RecordForm::Numbers);
    numbers = Parser.Parse2(TheFile, Data, Progress);
  }
  return Vessik_Records::FromNumbers(numbers);
}

}  // namespace vessik
