// One bridge call in flight: the call id as the web app passed it, the parsed argument array, and a weak link
// to where the answer goes. A plugin that answers later keeps the shared pointer; a command nobody holds is
// dropped unanswered. Answering after the delegate has gone does nothing. Main thread only.
#pragma once

#include "core/value/Value.h"

#include <memory>

namespace zel {

class ZELPluginCommand;

class ZELPluginCommandDelegate {
  public:
    virtual ~ZELPluginCommandDelegate() = default;
    virtual void pluginCommandResolve(const ZELPluginCommand& /*command*/, const Value& /*result*/) {}
    virtual void pluginCommandFail(const ZELPluginCommand& /*command*/, const Value& /*result*/) {}
};

class ZELPluginCommand {
  public:
    static std::shared_ptr<ZELPluginCommand> pluginCommandWithDefId(
        Value defId, Value params, std::weak_ptr<ZELPluginCommandDelegate> delegate);

    const Value& defId() const { return defId_; }
    // The parsed argument array; nil when the argument text did not parse.
    const Value& params() const { return params_; }
    // The first element of params; nil when params is not a non-empty array.
    Value firstParam() const;

    // Each answer makes one callback; a command may be answered more than once. nil result: no third
    // argument.
    void resolve(const Value& result = nil()) const;
    void fail(const Value& result = nil()) const;

  private:
    ZELPluginCommand() = default;
    Value defId_;
    Value params_;
    std::weak_ptr<ZELPluginCommandDelegate> delegate_;
};

using ZELPluginCommandRef = std::shared_ptr<ZELPluginCommand>;

}  // namespace zel
