// The web cache's test page. It reports what it sees as console lines "PROBE <tag> <JSON>" (printable ASCII,
// one line each): which copy of itself it runs (BUILD is rewritten in the published copy), how its own files
// and misses were answered, and every answer the native side sends. The query's "case" picks what it does.
(function () {
  'use strict';
  const BUILD = 'bundle';

  const ascii = (s) => s.replace(/[^\x20-\x7e]/g, (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
  const report = (tag, value) => console.log(`PROBE ${tag} ${ascii(JSON.stringify(value))}`);
  const testCase = new URLSearchParams(location.search).get('case') || '';

  async function answerOf(path) {
    try {
      const response = await fetch(path, {cache: 'no-store'});
      const body = await response.text();
      return {
        status: response.status,
        cache: response.headers.get('x-hy-hashmap-cache'),
        headerNames: [...response.headers.keys()],
        server: response.headers.get('server'),
        cacheControl: response.headers.get('cache-control'),
        body: body.slice(0, 80),
      };
    } catch (error) {
      return {error: String(error)};
    }
  }

  let published = '';
  window.zelNativeCallback = function (id, status, result) {
    report('answer', {id, status, argc: arguments.length, result: result === undefined ? null : result});
    if (id === 'refresh' && published) {
      // As the web app does once a refresh has ended: record the version now held in the cache.
      zelPlugin.exec('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([JSON.stringify({cacheVersion: published})]));
      zelPlugin.exec('recorded', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    }
  };

  (async () => {
    report('ready', {build: BUILD, script: await answerOf('js/cache-probe.js'), page: await answerOf('index.html')});
    if (testCase === 'miss') {
      report('miss', {missing: await answerOf('missing.js'), extra: await answerOf('extra.txt')});
      // Then a file from a server that never answers; a click takes the page elsewhere while it waits.
      const script = document.createElement('script');
      script.src = `http://${new URLSearchParams(location.search).get('stall')}/player/mac/www/stall.js`;
      document.head.append(script);
      document.addEventListener('mousedown', () => { location.href = 'index.html?case=after'; });
      report('waiting', {});
    } else if (testCase === 'refresh') {
      const version = await answerOf(`version.txt?${Date.now()}`);
      published = version.body.trim();
      report('published', version);
      zelPlugin.exec('refresh', 'cordovaAppUpdate', 'refreshWebCache', '[]');
    }
  })();
})();
