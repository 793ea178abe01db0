// The hooks through which a host lends the library its message loop and its
// message box. Both are kept per thread: parses on different threads do not meet.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vessik {

/// Sets the host's message loop for this thread, which long parses call at most
/// every 100 milliseconds; an empty function removes it.
void SetPumpHook(std::function<void()> hook);

/// Sets the host's modal message box for this thread, which receives the text to
/// show and returns when dismissed; an empty function removes it.
void SetMessageBoxHook(std::function<void(const std::string&)> hook);

/// Sets the memory a parse on this thread may hold at once, in bytes: the input's
/// bytes and pairs, the entity objects, the work arrays of the fits and the text.
/// Past it the parse fails with 7 "Out of memory". 0 restores the default: half
/// of the physical memory, or half of the address space where that is capped.
void SetMemoryBudget(uint64_t bytes);

/// The budget of a parse started on this thread now.
uint64_t MemoryBudget();

/// Switches the parses on this thread to the true-geometry mode (true) or back to
/// the default text (false, the default). The mode draws the drawing where the
/// DXF format means it: ellipses counter-clockwise and with their extrusion,
/// lightweight polylines and block references in their object coordinates,
/// repeated references as their grid, no polyface or mesh polylines, entities
/// only at group 0 in every ENTITIES section, unsigned handles, and every
/// approximation within Tolerance of its curve. Same records, layers and failures.
void SetTrueGeometry(bool on);

/// Whether the parses on this thread use the true-geometry mode.
bool TrueGeometry();

/// Sets how many threads fit the splines and ellipses of a parse on this thread
/// while the reading goes on: 0 (the default) one per processor the process may
/// use, 1 none (each curve is fitted by the reading thread as it is read). The
/// text, progress, cancel and failures are the same for every count.
void SetCurveThreads(int32_t count);

/// The count set for the parses on this thread.
int32_t CurveThreads();

/// Makes the parses on this thread map the drawing's file into memory (true)
/// instead of reading it (false, the default). Mapping spares clearing and copying
/// the whole file, a good part of the loading of a large drawing. The first mapping
/// installs a SIGBUS handler for the whole process, kept from then on: a file that
/// gets shorter while mapped then fails the parse with 75 instead of killing the
/// process, and a file written to while mapped fails it with 75 too. Other SIGBUS
/// faults go on to the handler that was there before. Meant for hosts that own
/// their process, such as the vessik tool. The text is the same either way.
void SetMapFiles(bool on);

/// Whether the parses on this thread map their files.
bool MapFiles();

}  // namespace vessik
