// Storage for entity objects. A drawing makes millions of small objects in the
// order it reads them and, when it is printed once, drops them in that same order:
// they are laid end to end in 2 MB chunks, and a chunk goes back to the system as
// soon as its last object is gone. This costs a fraction of the general allocator's
// work and of its page faults, and keeps the peak memory of a one-shot parse low.
#pragma once

#include <cstddef>

namespace vessik {

// Memory for an object of this size, aligned for any entity. Raises std::bad_alloc.
void* AllocateEntity(size_t size);
// Frees what AllocateEntity gave for the same size; any thread may free.
void FreeEntity(void* block, size_t size) noexcept;
// While one of these lives, the frees of this thread are settled together when it
// ends (or earlier): for freeing many objects at once.
class EntityFreeBatch {
 public:
  EntityFreeBatch() noexcept;
  ~EntityFreeBatch();
  EntityFreeBatch(const EntityFreeBatch&) = delete;
  EntityFreeBatch& operator=(const EntityFreeBatch&) = delete;
};

// Gives the emptied chunks kept for reuse back to the system.
void FreeKeptEntityChunks() noexcept;
// Chunks held at this moment, by all threads together, kept ones included.
size_t EntityChunks() noexcept;

}  // namespace vessik
