// A file's bytes mapped into memory instead of read: they come straight from the
// system's cache of the file, with no fresh memory to clear and no copy, which on a
// large drawing is most of the cost of loading it.
//
// A mapped file that gets shorter under the mapping would make the next read of a
// lost page fault with SIGBUS. A handler, installed with the first mapping and
// kept, puts zeros in place of the lost pages and marks the mapping: the parse
// runs on and fails with 75 at its end (see FileBytes::Unchanged). Faults
// elsewhere go on to the handler that was there before, or kill the process as
// they would have without it.
#pragma once

#include <cstddef>

namespace vessik {

// A mapping of a whole file, read-only in effect (written pages stay private).
struct FileMapping {
  char* data = nullptr;
  size_t length = 0;  // the mapped length, whole pages
  int slot = -1;      // where the fault handler looks it up
};

// Maps size bytes of the open file fd; false when it cannot be mapped (no room
// left among the mappings the handler watches, a file system without mappings, no
// handler), the caller then reads the file instead.
bool MapFile(int fd, size_t size, FileMapping& mapping);
// Unmaps it; its slot is free again.
void UnmapFile(FileMapping& mapping) noexcept;
// Whether a page of the mapping was lost to the file getting shorter.
bool MappingLost(const FileMapping& mapping) noexcept;
// Faults its pages in for [from, to) without reading them, where that is available.
void PopulateMapping(const char* from, const char* to) noexcept;

}  // namespace vessik
