#include "core/bridge/ZELPluginCommand.h"

namespace zel {

std::shared_ptr<ZELPluginCommand> ZELPluginCommand::pluginCommandWithDefId(
    Value defId, Value params, std::weak_ptr<ZELPluginCommandDelegate> delegate) {
    // The constructor is private, so make_shared cannot reach it.
    std::shared_ptr<ZELPluginCommand> command(new ZELPluginCommand());
    command->defId_ = std::move(defId);
    command->delegate_ = std::move(delegate);
    command->params_ = std::move(params);
    return command;
}

Value ZELPluginCommand::firstParam() const {
    if (!params_.is_array() || params_.empty()) return nil();
    return params_.front();
}

void ZELPluginCommand::resolve(const Value& result) const {
    if (const auto delegate = delegate_.lock()) delegate->pluginCommandResolve(*this, result);
}

void ZELPluginCommand::fail(const Value& result) const {
    if (const auto delegate = delegate_.lock()) delegate->pluginCommandFail(*this, result);
}

}  // namespace zel
