// Hashed lookups of layers and blocks by name while a drawing is read. A drawing
// with a hundred thousand layers or blocks would otherwise scan the whole list
// for every entity and every reference. The first item of a name still wins, as
// in a scan from the front.
//
// A lookup serves one list, named when it is made, for as long as it lives; it is
// installed for the calling thread, and the one it replaced comes back when it
// ends, so that a parse started from inside another keeps its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "parser/Vessik_Block.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

// Hash of names that finds a std::string key by a string_view without a copy.
struct NameHash {
  using is_transparent = void;
  size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};
using FirstPositions = std::unordered_map<std::string, int32_t, NameHash, std::equal_to<>>;

// The layers of a parse. The list only grows while the drawing is read, by the
// layers that entities name and the table lacks; each lookup first takes in
// what was added since the last one.
class LayerLookup {
 public:
  explicit LayerLookup(Vessik_Layers& layers);
  ~LayerLookup();
  LayerLookup(const LayerLookup&) = delete;
  LayerLookup& operator=(const LayerLookup&) = delete;

  // The lookup of this thread that serves this list, or none.
  static LayerLookup* For(const Vessik_Layers& layers);

  static constexpr int32_t kNone = -1;
  // Position of the first layer of that name, or kNone. A name met lately is
  // found here, inline, while nothing was added to the list since.
  int32_t Find(std::string_view name) {
    if (taken_ == layers_.size()) {
      const Recent& recent = recent_[RecentSlot(name)];
      if (recent.position >= 0 && recent.name == name) return recent.position;
    }
    return FindTakingIn(name);
  }

 private:
  // Find after taking in the layers added since the last lookup.
  int32_t FindTakingIn(std::string_view name);
  Vessik_Layers& layers_;
  size_t taken_ = 0;
  FirstPositions first_;
  // Every entity names its layer, and a drawing has few: names found are kept in
  // a small table that a cheap hash of a few bytes indexes, in front of the full
  // hash and the division of the map. A position of -1 marks a free entry.
  struct Recent {
    std::string name;
    int32_t position = -1;
  };
  static constexpr size_t kRecent = 64;
  static size_t RecentSlot(std::string_view name) {
    size_t h = name.size();
    if (!name.empty()) {
      const auto byte = [&](size_t k) {
        return static_cast<size_t>(static_cast<unsigned char>(name[k]));
      };
      h = h * 131 + byte(0) * 31 + byte(name.size() / 2) * 7 + byte(name.size() - 1);
    }
    return h % kRecent;
  }
  std::array<Recent, kRecent> recent_;
  LayerLookup* previous_;
};

// The block definitions of a parse, which do not change while it reads.
class BlockLookup {
 public:
  explicit BlockLookup(const std::vector<Vessik_Block>& blocks);
  ~BlockLookup();
  BlockLookup(const BlockLookup&) = delete;
  BlockLookup& operator=(const BlockLookup&) = delete;

  // The lookup of this thread that serves this list, or none.
  static BlockLookup* For(const std::vector<Vessik_Block>& blocks);

  // The first block of that name, or none.
  const Vessik_Block* Find(std::string_view name) const;

  // How many items an expansion of this block (one of the list) gave before, or 0:
  // every reference to a block reads the same items, so the next can make room
  // for them at once instead of growing its list step by step.
  int32_t ItemCount(const Vessik_Block& block) const;
  void NoteItemCount(const Vessik_Block& block, int32_t count);

 private:
  const std::vector<Vessik_Block>& blocks_;
  FirstPositions first_;
  std::vector<int32_t> itemCounts_;
  BlockLookup* previous_;
};

}  // namespace vessik
