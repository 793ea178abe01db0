// The group pairs of the loaded drawing: one code and one value for each DXF
// group, in file order. The values stay in the file's own bytes, held once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vessik {

struct GroupPair {
  int32_t Code;
  std::string_view Value;
};

class GroupPairTable {
 public:
  int32_t Count() const { return static_cast<int32_t>(entries_.size()); }
  // Highest index; -1 when empty.
  int32_t UBound() const { return Count() - 1; }

  // The code and the value at index i; an index outside the table raises 9.
  int32_t Code(int32_t i) const { return At(i).code; }
  std::string_view Value(int32_t i) const {
    const Entry& e = At(i);
    return std::string_view(bytes_.data() + e.offset, e.length);
  }
  GroupPair operator[](int32_t i) const { return GroupPair{Code(i), Value(i)}; }

  // Empties the table and frees its storage.
  void Clear();

  // Building: the pairs as offsets into the file's bytes, then the bytes.
  void Reset(size_t expectedPairs);
  void Add(int32_t code, size_t offset, size_t length);
  void AdoptBytes(std::string&& bytes) { bytes_ = std::move(bytes); }

  // Replaces the table with these pairs (for tests and tools).
  void Assign(const std::vector<std::pair<int32_t, std::string>>& pairs);

 private:
  struct Entry {
    int32_t code;
    uint32_t offset;
    uint32_t length;
  };
  const Entry& At(int32_t i) const;

  std::string bytes_;
  std::vector<Entry> entries_;
};

// The table of this thread.
GroupPairTable& GroupPairs();

}  // namespace vessik
