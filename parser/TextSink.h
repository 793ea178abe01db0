// Where a parse hands its text piece by piece, instead of holding it whole.
#pragma once

#include <string_view>

namespace vessik {

class TextSink {
 public:
  virtual ~TextSink() = default;
  // The next bytes of the text, in order. A failure raised here ends the parse
  // with that failure.
  virtual void Write(std::string_view bytes) = 0;
};

}  // namespace vessik
