#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "entities/EntityArena.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

class Vessik_IParent;
class Vessik_CommonData;

// What every drawable thing offers to the code that reads and prints the drawing.
class Vessik_IEntity {
 public:
  virtual ~Vessik_IEntity() = default;
  // Entities live in chunks of their own (see EntityArena.h).
  static void* operator new(size_t size) { return AllocateEntity(size); }
  static void operator delete(void* block, size_t size) noexcept { FreeEntity(block, size); }
  virtual Vessik_IParent* Vessik_IEntity_Parent() const = 0;
  virtual void Vessik_IEntity_Parent(Vessik_IParent* value) = 0;
  // The packed RGB value to print.
  virtual int32_t Vessik_IEntity_Color(Vessik_Layers& Layers) = 0;
  virtual std::string Vessik_IEntity_LayerName(Vessik_Layers& Layers) = 0;
  virtual void Vessik_IEntity_Release() = 0;
  // Reads the entity's groups from StartLine on; returns the index of the last pair
  // it consumed.
  virtual int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) = 0;
  // The entity's records, each ending in CR LF.
  virtual std::string Vessik_IEntity_ToString(Vessik_Layers& Layers) = 0;
  // The same records appended to Text. On a failure part of them may be there
  // already: the caller that goes on cuts Text back.
  virtual void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) = 0;
  // Derives what can be decided once, right after Read.
  virtual void Vessik_IEntity_Init(Vessik_CommonData* Data) = 0;
  // Gives back what Init worked with and printing does not need, on the thread
  // that made it: for an item that is only printed after this.
  virtual void DropInitWork() {}
};

}  // namespace vessik
