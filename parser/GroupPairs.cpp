#include "parser/GroupPairs.h"

#include "parser/Vessik_Error.h"

namespace vessik {

const GroupPairTable::Entry& GroupPairTable::At(int32_t i) const {
  if (i < 0 || static_cast<size_t>(i) >= entries_.size()) {
    RaisePlatformError(errnum::SubscriptOutOfRange);
  }
  return entries_[static_cast<size_t>(i)];
}

void GroupPairTable::Clear() {
  std::string().swap(bytes_);
  std::vector<Entry>().swap(entries_);
}

void GroupPairTable::Reset(size_t expectedPairs) {
  Clear();
  entries_.reserve(expectedPairs);
}

void GroupPairTable::Add(int32_t code, size_t offset, size_t length) {
  entries_.push_back(Entry{code, static_cast<uint32_t>(offset), static_cast<uint32_t>(length)});
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
  AdoptBytes(std::move(bytes));
}

GroupPairTable& GroupPairs() {
  thread_local GroupPairTable table;
  return table;
}

}  // namespace vessik
