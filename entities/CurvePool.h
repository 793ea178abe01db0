// Fits the curves of a drawing (splines and ellipses) on worker threads while the
// reading thread goes on with the items after them.
//
// A curve's fit depends on nothing but its own groups and the settings, so the
// fits of different curves can run in any order. What the host sees must not
// change: the reading thread submits each fit where it would have run it, waits
// for all fits submitted so far before anything that shows (a progress report,
// the end of the reading, a failure of its own), and then raises the failure of
// the first fit that failed, in the order they were submitted. That is the
// failure the reading would have met first, one item at a time.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>

#include "parser/Vessik_CommonData.h"

namespace vessik {

class Vessik_IEntity;

class CurvePool {
 public:
  // A pool with its workers, or one that fits on the reading thread where other
  // threads gain nothing (one processor) or none can be had.
  static std::unique_ptr<CurvePool> Start();
  // The pool that fits on the reading thread.
  static std::unique_ptr<CurvePool> StartInline();
  // Drops the fits not begun and waits for those under way.
  virtual ~CurvePool() = default;

  // Queues the fit of the item with these settings. Waits while too many fits
  // are outstanding, so the queue stays small whatever the drawing.
  virtual void Submit(Vessik_IEntity* item, const Vessik_CommonData& settings) = 0;
  // Fits submitted so far, and how many of the first ones are done, without a
  // failure among them.
  virtual int64_t Submitted() const = 0;
  virtual int64_t Done() const = 0;
  // Whether a fit has failed that Settle would raise.
  virtual bool Failed() const = 0;
  // Waits, keeping the host's messages going, until the first count fits are
  // done, or all submitted have finished, or one has failed.
  virtual void WaitForDone(int64_t count) = 0;
  // Waits until every fit submitted so far is done, keeping the host's messages
  // going, and raises the failure of the first one that failed.
  virtual void Settle() = 0;
  // The same, but the failure is returned instead of raised (null for none).
  virtual std::exception_ptr SettleQuietly() noexcept = 0;
};

// The pool of the parse under way on this thread, or null: items of blocks are
// read deep down the nesting and submit their fits to it.
CurvePool* CurrentCurvePool() noexcept;

class CurvePoolScope {
 public:
  explicit CurvePoolScope(CurvePool* pool) noexcept;
  ~CurvePoolScope();
  CurvePoolScope(const CurvePoolScope&) = delete;
  CurvePoolScope& operator=(const CurvePoolScope&) = delete;

 private:
  CurvePool* outer_;
};

// Whether the item at this keyword is a curve whose fit may go to the pool.
bool IsPooledCurve(int keywordIndex) noexcept;

}  // namespace vessik
