#include "parser/GroupPairs.h"

#include "parser/Vessik_Error.h"

namespace vessik {

const GroupPairTable::Entry& GroupPairTable::At(int32_t i) const {
  if (i < 0 || static_cast<size_t>(i) >= entries_.size()) {
    RaisePlatformError(errnum::SubscriptOutOfRange);
  }
  return entries_[static_cast<size_t>(i)];
}

const GroupPairTable::WideEntry& GroupPairTable::Wide(int32_t i) const {
  return wide_.find(i)->second;
}

void GroupPairTable::Clear() {
  wide_.clear();
  bytes_ = FileBytes();
  entries_ = LargeArray<Entry>();
}

void GroupPairTable::Reset(size_t expectedPairs) {
  Clear();
  entries_.reserve(expectedPairs);
}

void GroupPairTable::Add(int32_t code, size_t offset, size_t length) {
  const bool wideCode = code <= kWide || code > INT16_MAX;
  const bool longValue = length >= kLong;
  if (wideCode || longValue) {
    wide_[static_cast<int32_t>(entries_.size())] = WideEntry{code, static_cast<uint32_t>(length)};
  }
  entries_.push_back(Entry{static_cast<uint32_t>(offset),
                           wideCode ? kWide : static_cast<int16_t>(code),
                           longValue ? kLong : static_cast<uint16_t>(length)});
}

void GroupPairTable::Assign(const std::vector<std::pair<int32_t, std::string>>& pairs) {
  std::string bytes;
  for (const auto& p : pairs) bytes += p.second;
  Reset(pairs.size());
  size_t offset = 0;
  for (const auto& p : pairs) {
    Add(p.first, offset, p.second.size());
    offset += p.second.size();
  }
  AdoptBytes(FileBytes(bytes));
}

GroupPairTable& GroupPairs() {
  thread_local GroupPairTable table;
  return table;
}

}  // namespace vessik
