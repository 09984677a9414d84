// Follows one message body of a known framing through the bytes it is fed, without changing them, and says
// where it ends: nothing for None, `length` bytes for Length, the chunk grammar for Chunked. A body that ends
// when its sender closes (UntilClose, Tunnel) never ends here: the caller sees the close. Any thread.
#pragma once

#include "core/http/ZELMessageFraming.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zel::http {

class ZELBodyReader {
  public:
    explicit ZELBodyReader(ZELFraming framing = {});

    // How many of the bytes in `data` belong to the body: all of them, unless it ends (or fails) inside.
    std::size_t feed(std::string_view data);
    bool done() const;
    bool failed() const { return chunks_.failed(); }

  private:
    ZELFraming framing_;
    std::uint64_t left_;
    ZELChunkedReader chunks_;
};

}  // namespace zel::http
