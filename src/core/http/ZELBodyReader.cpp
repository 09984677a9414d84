#include "core/http/ZELBodyReader.h"

#include <algorithm>

namespace zel::http {

ZELBodyReader::ZELBodyReader(ZELFraming framing) : framing_(framing), left_(framing.length) {}

std::size_t ZELBodyReader::feed(std::string_view data) {
    switch (framing_.kind) {
        case ZELBodyFraming::None:
            return 0;
        case ZELBodyFraming::Length: {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left_, data.size()));
            left_ -= count;
            return count;
        }
        case ZELBodyFraming::Chunked:
            return chunks_.feed(data);
        default:
            return data.size();
    }
}

bool ZELBodyReader::done() const {
    switch (framing_.kind) {
        case ZELBodyFraming::None:
            return true;
        case ZELBodyFraming::Length:
            return left_ == 0;
        case ZELBodyFraming::Chunked:
            return chunks_.done();
        default:
            return false;
    }
}

}  // namespace zel::http
