// A sigc connection that is disconnected when this object goes (sigc++ 3.4 has no scoped_connection of its
// own): for slots that point at something the emitter may outlive. Move-only; the emitter's thread only.
#pragma once

#include <sigc++/connection.h>

#include <utility>

namespace zel {

class ZELScopedConnection {
  public:
    ZELScopedConnection() = default;
    ZELScopedConnection(sigc::connection connection) : connection_(std::move(connection)) {}  // NOLINT
    ~ZELScopedConnection() { connection_.disconnect(); }
    ZELScopedConnection(ZELScopedConnection&& other) noexcept : connection_(std::move(other.connection_)) {
        other.connection_ = sigc::connection();
    }
    ZELScopedConnection& operator=(ZELScopedConnection&& other) noexcept {
        if (this != &other) {
            connection_.disconnect();
            connection_ = std::move(other.connection_);
            other.connection_ = sigc::connection();
        }
        return *this;
    }

  private:
    sigc::connection connection_;
};

}  // namespace zel
