#include "parser/NameLookup.h"

namespace vessik {
namespace {

thread_local LayerLookup* tLayerLookup = nullptr;
thread_local BlockLookup* tBlockLookup = nullptr;

}  // namespace

LayerLookup::LayerLookup(Vessik_Layers& layers) : layers_(layers), previous_(tLayerLookup) {
  tLayerLookup = this;
}

LayerLookup::~LayerLookup() {
  tLayerLookup = previous_;
}

LayerLookup* LayerLookup::For(const Vessik_Layers& layers) {
  return tLayerLookup != nullptr && &tLayerLookup->layers_ == &layers ? tLayerLookup : nullptr;
}

int32_t LayerLookup::FindTakingIn(std::string_view name) {
  if (layers_.size() < taken_) {
    // The list was cut back: take it in anew.
    first_.clear();
    taken_ = 0;
    for (Recent& r : recent_) r.position = -1;
  }
  // Layers added since cannot change the first position of a name already found.
  for (; taken_ < layers_.size(); ++taken_) {
    if (layers_[taken_]) first_.try_emplace(layers_[taken_]->Name, static_cast<int32_t>(taken_));
  }
  Recent& recent = recent_[RecentSlot(name)];
  if (recent.position >= 0 && recent.name == name) return recent.position;
  const auto it = first_.find(name);
  if (it == first_.end()) return kNone;
  recent.name.assign(name);
  recent.position = it->second;
  return it->second;
}

BlockLookup::BlockLookup(const std::vector<Vessik_Block>& blocks)
    : blocks_(blocks), itemCounts_(blocks.size(), 0), previous_(tBlockLookup) {
  first_.reserve(blocks.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    first_.try_emplace(blocks[i].Name, static_cast<int32_t>(i));
  }
  tBlockLookup = this;
}

BlockLookup::~BlockLookup() {
  tBlockLookup = previous_;
}

BlockLookup* BlockLookup::For(const std::vector<Vessik_Block>& blocks) {
  return tBlockLookup != nullptr && &tBlockLookup->blocks_ == &blocks ? tBlockLookup : nullptr;
}

const Vessik_Block* BlockLookup::Find(std::string_view name) const {
  const auto it = first_.find(name);
  return it == first_.end() ? nullptr : &blocks_[static_cast<size_t>(it->second)];
}

int32_t BlockLookup::ItemCount(const Vessik_Block& block) const {
  return itemCounts_[static_cast<size_t>(&block - blocks_.data())];
}

void BlockLookup::NoteItemCount(const Vessik_Block& block, int32_t count) {
  itemCounts_[static_cast<size_t>(&block - blocks_.data())] = count;
}

}  // namespace vessik
