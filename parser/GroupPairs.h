// The group pairs of the loaded drawing: one code and one value for each DXF
// group, in file order. The values stay in the file's own bytes, held once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "parser/FileBytes.h"
#include "parser/LargeMemory.h"

namespace vessik {

struct GroupPair {
  int32_t Code;
  std::string_view Value;
};

class GroupPairTable {
  // Eight bytes a pair: the table is as large as the file itself. A code outside
  // 16 bits or a value of 65535 bytes or more goes to the side table.
  struct Entry {
    uint32_t offset;
    int16_t code;
    uint16_t length;
  };
  struct WideEntry {
    int32_t code;
    uint32_t length;
  };
  using WideEntries = std::unordered_map<int32_t, WideEntry>;

 public:
  int32_t Count() const { return static_cast<int32_t>(head_.size() + tail_.size()); }
  // Highest index; -1 when empty.
  int32_t UBound() const { return Count() - 1; }

  // The code and the value at index i; an index outside the table raises 9.
  int32_t Code(int32_t i) const {
    const Entry& e = At(i);
    return e.code != kWide ? e.code : Wide(i).code;
  }
  std::string_view Value(int32_t i) const {
    const Entry& e = At(i);
    size_t length = e.length != kLong ? e.length : Wide(i).length;
    return std::string_view(bytes_.data() + e.offset, length);
  }
  // Both at once, with one look-up of the entry.
  GroupPair operator[](int32_t i) const {
    const Entry& e = At(i);
    if (e.code == kWide || e.length == kLong) return GroupPair{Code(i), Value(i)};
    return GroupPair{e.code, std::string_view(bytes_.data() + e.offset, e.length)};
  }

  // Size of the file the pairs were read from.
  size_t ByteCount() const { return bytes_.size(); }
  // Whether the bytes the values lie in are still the file's as it was read.
  bool FileUnchanged() const { return bytes_.Unchanged(); }

  // Gives back the memory of the pairs from to to, which nobody reads again.
  void ReleaseRead(int32_t from, int32_t to);

  // Empties the table and frees its storage.
  void Clear();

  // Indexes of the pairs whose value is "SECTION" or "ENDSEC", in order: noted while
  // the pairs are built, so that finding the sections takes no pass over them all.
  const std::vector<int32_t>& SectionMarks() const { return marks_; }

  // Building: the pairs as offsets into the file's bytes (value is the pair's value
  // there), then the bytes.
  void Reset(size_t expectedPairs);
  void Add(int32_t code, size_t offset, std::string_view value);
  void AdoptBytes(FileBytes&& bytes) { bytes_ = std::move(bytes); }

  // Pairs of the rest of the file, built on another thread while this table takes
  // those in front; they are joined behind them once both are done.
  class Part {
   public:
    void Reserve(size_t pairs) { entries_.reserve(pairs); }
    void Add(int32_t code, size_t offset, std::string_view value) {
      AddTo(entries_, wide_, marks_, static_cast<int32_t>(entries_.size()), code, offset, value);
    }

   private:
    friend class GroupPairTable;
    LargeArray<Entry> entries_;
    WideEntries wide_;            // by index in the part
    std::vector<int32_t> marks_;  // by index in the part
  };
  void Join(Part&& tail);

  // Replaces the table with these pairs (for tests and tools).
  void Assign(const std::vector<std::pair<int32_t, std::string>>& pairs);

 private:
  static constexpr int16_t kWide = INT16_MIN;
  static constexpr uint16_t kLong = UINT16_MAX;
  static void AddTo(LargeArray<Entry>& entries, WideEntries& wide, std::vector<int32_t>& marks,
                    int32_t index, int32_t code, size_t offset, std::string_view value);
  // Every read of a pair passes here: inline, with the failure out of line.
  const Entry& At(int32_t i) const {
    const auto k = static_cast<size_t>(i);
    if (i >= 0 && k < head_.size()) return head_[k];
    if (i >= 0 && k - head_.size() < tail_.size()) return tail_[k - head_.size()];
    OutOfRange();
  }
  [[noreturn]] static void OutOfRange();
  const WideEntry& Wide(int32_t i) const;

  FileBytes bytes_;
  // The pairs in front, and those joined behind them.
  LargeArray<Entry> head_;
  LargeArray<Entry> tail_;
  WideEntries wide_;
  std::vector<int32_t> marks_;
};

// Loading builds the pairs of a file on two threads once they take this many bytes
// or more (8 MB), for the calling thread's loads; 0 restores that. For tests.
void SetSplitLoadFrom(size_t bytes);
// How many loads of the calling thread were split so. For tests.
int64_t SplitLoads();

// The table of this thread.
GroupPairTable& GroupPairs();

}  // namespace vessik
