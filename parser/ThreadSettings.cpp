// The parse settings each host thread keeps for itself: the geometry mode, the
// threads that fit curves and how files are loaded.
#include "parser/Vessik_Hooks.h"

namespace vessik {
namespace {

thread_local bool t_trueGeometry = false;
thread_local int32_t t_curveThreads = 0;
thread_local bool t_mapFiles = false;

}  // namespace

void SetTrueGeometry(bool on) {
  t_trueGeometry = on;
}

bool TrueGeometry() {
  return t_trueGeometry;
}

void SetCurveThreads(int32_t count) {
  t_curveThreads = count < 0 ? 0 : count;
}

int32_t CurveThreads() {
  return t_curveThreads;
}

void SetMapFiles(bool on) {
  t_mapFiles = on;
}

bool MapFiles() {
  return t_mapFiles;
}

}  // namespace vessik
