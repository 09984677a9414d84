// A frame of the test web app: reports what it sees of the bridge to the top page, which reports for all.
(function () {
  'use strict';
  const plugin = window.zelPlugin;
  const query = new URLSearchParams(location.search);
  const depth = Number(query.get('depth'));
  const name = query.get('name');

  const answers = [];
  window.zelNativeCallback = (id, status) => answers.push({id, status});
  let answeredBeforeReturn = false;
  if (plugin) {
    plugin.exec(`frame-${name}-${depth}`, 'cordovaAppUpdate', 'getLocalVersion', '[]');
    answeredBeforeReturn = answers.length === 1;
  }
  const observed = {
    name,
    depth,
    type: typeof plugin,
    ownKeys: plugin ? Reflect.ownKeys(plugin).map(String) : null,
    answers,
    answeredBeforeReturn,
  };
  window.top.postMessage(observed, '*');
  if (depth < 2) {
    document.addEventListener('DOMContentLoaded', () => {
      const nested = document.createElement('iframe');
      nested.src = `frame.html?depth=${depth + 1}&name=${encodeURIComponent(name)}`;
      document.body.appendChild(nested);
    });
  }
})();
