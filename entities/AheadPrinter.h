// Prints the top-level items of a drawing on a second thread while the reading
// thread goes on with the items after them. The text comes out exactly as if each
// item were printed after the whole drawing is read: an item is handed over only
// once it is complete, nothing reads or changes it on the reading side until its
// text is done, and the items are printed in order into one text.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "parser/ParseLimits.h"
#include "parser/TextSink.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

class Vessik_IEntity;

class AheadPrinter {
 public:
  // A printer with its thread started, or null where no thread can be had (the
  // items are then printed the usual way). With a sink, the text goes there as it
  // is made, and TakeText returns only its last part.
  static std::unique_ptr<AheadPrinter> Start(int64_t textSizeHint, TextSink* sink = nullptr);
  // Stops the thread; items not printed yet are dropped.
  virtual ~AheadPrinter() = default;

  // Hands over the next item, whose text is made with the layers as they are now.
  // False once the layers grow too many to copy for each new one: this item and
  // all later ones are left to the caller.
  bool Submit(Vessik_IEntity* item, const Vessik_Layers& layers);
  // Sends the items handed over since the last call to the printing thread.
  virtual void Flush() = 0;
  // Items handed over so far, and how many of them are printed.
  int32_t Submitted() const { return submitted_; }
  virtual int32_t Printed() const = 0;
  // Waits until the first count items are printed.
  virtual void WaitFor(int32_t count) = 0;
  // The same, keeping the host's messages going meanwhile.
  virtual void CatchUp(int32_t count) = 0;
  // Waits for every item handed over and returns the text; the thread ends.
  virtual Vessik_Concat TakeText() = 0;

 protected:
  struct Job {
    Vessik_IEntity* item;
    Vessik_Layers* layers;
  };
  // Lists of jobs (this batch, the printing thread's queue) hold many items when
  // reading runs ahead of printing: they count against the parse's memory and
  // take huge pages once large.
  using Jobs = BudgetVector<Job>;
  // The items handed over since the last Flush.
  Jobs batch_;

 private:
  // Every copy of the layers made so far, the last one current; they live as long
  // as the printer, so a job needs no counted reference (whose count both threads
  // would keep changing).
  std::vector<std::unique_ptr<Vessik_Layers>> layers_;
  int32_t submitted_ = 0;
  bool refused_ = false;
};

}  // namespace vessik
