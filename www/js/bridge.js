// The web app's side of the native bridge: numbered calls through zelPlugin.exec, answered through
// zelNativeCallback (possibly before exec returns, so a call is recorded before it is sent).
(function () {
  'use strict';
  let nextId = 1;
  const pending = new Map();

  window.zelNativeCallback = function (callId, status, result) {
    const entry = pending.get(callId);
    if (!entry) return;
    if (!entry.keep) pending.delete(callId);
    entry.callback(status, result);
  };

  // Calls a native plugin method; callback(status, result) runs for each answer.
  // keep: the call may be answered more than once (a cache refresh).
  window.ostrelleNative = function (plugin, method, args, callback, keep) {
    if (typeof zelPlugin === 'undefined') return false;
    const id = String(nextId++);
    if (callback) pending.set(id, {callback, keep: Boolean(keep)});
    zelPlugin.exec(id, plugin, method, JSON.stringify(args || []));
    return true;
  };
})();
