#include "parser/GroupPairs.h"

#include <algorithm>

#include "parser/Vessik_Error.h"

namespace vessik {

void GroupPairTable::OutOfRange() {
  RaisePlatformError(errnum::SubscriptOutOfRange);
}

const GroupPairTable::WideEntry& GroupPairTable::Wide(int32_t i) const {
  return wide_.find(i)->second;
}

void GroupPairTable::ReleaseRead(int32_t from, int32_t to) {
  if (from < 0 || to < from || to >= Count()) return;
  char* bytesBegin = bytes_.data() + At(from).offset;
  char* bytesEnd = bytes_.data() + At(to).offset;
  const auto f = static_cast<size_t>(from);
  const auto t = static_cast<size_t>(to);
  const size_t h = head_.size();
  if (f < h) ReleasePages(head_.data() + f, head_.data() + std::min(t, h));
  if (t > h) ReleasePages(tail_.data() + (f > h ? f - h : 0), tail_.data() + (t - h));
  ReleasePages(bytesBegin, bytesEnd);
}

void GroupPairTable::Clear() {
  wide_.clear();
  marks_ = std::vector<int32_t>();
  bytes_ = FileBytes();
  head_ = LargeArray<Entry>();
  tail_ = LargeArray<Entry>();
}

void GroupPairTable::Reset(size_t expectedPairs) {
  Clear();
  head_.reserve(expectedPairs);
}

void GroupPairTable::AddTo(LargeArray<Entry>& entries, WideEntries& wide,
                           std::vector<int32_t>& marks, int32_t index, int32_t code, size_t offset,
                           std::string_view value) {
  const size_t length = value.size();
  if (value == "SECTION" || value == "ENDSEC") marks.push_back(index);
  const bool wideCode = code <= kWide || code > INT16_MAX;
  const bool longValue = length >= kLong;
  if (wideCode || longValue) wide[index] = WideEntry{code, static_cast<uint32_t>(length)};
  entries.push_back(Entry{static_cast<uint32_t>(offset),
                          wideCode ? kWide : static_cast<int16_t>(code),
                          longValue ? kLong : static_cast<uint16_t>(length)});
}

void GroupPairTable::Add(int32_t code, size_t offset, std::string_view value) {
  // Pairs are only added in front of a part joined behind.
  if (tail_.size() != 0) RaisePlatformError(errnum::SubscriptOutOfRange);
  AddTo(head_, wide_, marks_, Count(), code, offset, value);
}

void GroupPairTable::Join(Part&& tail) {
  const auto shift = static_cast<int32_t>(head_.size());
  for (const auto& [index, wide] : tail.wide_) wide_[index + shift] = wide;
  for (int32_t index : tail.marks_) marks_.push_back(index + shift);
  tail_ = std::move(tail.entries_);
  tail.wide_.clear();
  tail.marks_.clear();
}

void GroupPairTable::Assign(const std::vector<std::pair<int32_t, std::string>>& pairs) {
  std::string bytes;
  for (const auto& p : pairs) bytes += p.second;
  Reset(pairs.size());
  size_t offset = 0;
  for (const auto& p : pairs) {
    Add(p.first, offset, p.second);
    offset += p.second.size();
  }
  AdoptBytes(FileBytes(bytes));
}

GroupPairTable& GroupPairs() {
  thread_local GroupPairTable table;
  return table;
}

}  // namespace vessik
