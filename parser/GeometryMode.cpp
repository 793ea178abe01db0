#include "parser/Vessik_Hooks.h"

namespace vessik {
namespace {

thread_local bool t_trueGeometry = false;

}  // namespace

void SetTrueGeometry(bool on) {
  t_trueGeometry = on;
}

bool TrueGeometry() {
  return t_trueGeometry;
}

}  // namespace vessik
