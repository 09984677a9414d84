// The test web app: reports "PROBE <tag> <JSON>" console lines in printable ASCII; the query's "case" picks.
(function () {
  'use strict';
  const ascii = (s) => s.replace(/[^\x20-\x7e]/g, (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
  const report = (tag, value) => console.log(`PROBE ${tag} ${ascii(JSON.stringify(value === undefined ? null : value))}`);
  const page = location.pathname.split('/').pop();
  const shape = (w) => {
    const p = w.zelPlugin, forIn = [];
    if (p) for (const key in p) forIn.push(key);
    return {type: typeof p, ownKeys: p ? Reflect.ownKeys(p).map(String) : null, forIn,
            prototype: p ? (Object.getPrototypeOf(p) === null ? 'null' : 'other') : null, execType: p ? typeof p.exec : null,
            windowNames: Object.getOwnPropertyNames(w).filter((n) => /^(zel|__zel|ostrelle)/i.test(n))};
  };
  const early = shape(window);
  const params = new URLSearchParams(location.search);
  const testCase = params.get('case') || '';
  const loadId = Math.random().toString(36).slice(2);

  // Every answer the native side sends this page, with whether it arrived inside a zelPlugin.exec call.
  const answers = [];
  let depth = 0;
  const collect = window.zelNativeCallback = function (id, status, result) {
    answers.push({id, status, result, argc: arguments.length, insideExec: depth > 0});
  };
  const call = (id, plugin, method, text) => { depth++; try { return zelPlugin.exec(id, plugin, method, text); } finally { depth--; } };
  const take = () => answers.splice(0, answers.length);
  const put = (version) => call('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([JSON.stringify({cacheVersion: version})]));
  const get = (id) => call(id, 'cordovaAppUpdate', 'getLocalVersion', '[]');
  const mark = (name) => call('m', 'cordovaMenu', name, '[]');  // an unknown method: a log line that marks a place
  const addFrame = (query) => document.body.appendChild(Object.assign(document.createElement('iframe'), {src: `frame.html?${query}`}));

  if (window !== window.top) {  // a frame: tells the top page what it sees, then holds a frame of its own
    const name = params.get('name'), depth = Number(params.get('depth'));
    if (early.type === 'object') get(`frame-${name}-${depth}`);
    window.top.postMessage({name, depth, ownKeys: early.ownKeys, answers: take().map((a) => [a.id, a.status, a.insideExec])}, '*');
    if (depth < 2) document.addEventListener('DOMContentLoaded', () => addFrame(`depth=${depth + 1}&name=${name}`));
    return;
  }

  get('ready');
  report('ready', {page, case: testCase, href: location.href, loadId, early, answered: take().some((a) => a.id === 'ready' && a.status === 0)});
  window.feedback = (...args) => report('feedback', {args});

  const bridge = [function malformed() {
    const texts = ['{not json', '', '"just text"', '[1, 2', '['.repeat(100000), ']'.repeat(3), 'null', '42',
                   '[{"nickname":"ok","avatarSrc":"img"}] trailing', '[{"nickname":"ok"}]]', '\ud800'];
    for (const t of texts) call('info', 'cordovaUserInfo', 'setUserInfo', t);
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo');
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo', 42);
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo', {toString: () => '[{"nickname":"from toString","avatarSrc":"x"}]'});
    for (const t of ['[', '[42]', '["{\\"cacheVersion\\":7}"]']) call('put', 'cordovaAppUpdate', 'putLocalVersion', t);
    call('get', 'cordovaAppUpdate', 'getLocalVersion', 'not json at all');
    report('malformed', take().map((a) => ({id: a.id, status: a.status, result: a.result})));
  }, function sync() {
    const returned = get('7');
    report('sync', {returned: returned === undefined ? 'undefined' : typeof returned, answers: take()});
    const ids = ['7', 7, 0, -1.5, true, false, null, {a: [1, 'b']}, [1, 2], '', 'q"\\\u2028</script>${x}'];
    for (const id of ids) get(id);
    get(undefined);
    report('ids', {sent: ids.concat([null]), back: take().map((a) => a.id)});
    // A callback that throws must not turn into an exception of exec, nor stop later calls.
    window.zelNativeCallback = () => { throw new Error('callback failed on purpose'); };
    let threw = false, later = null;
    try { zelPlugin.exec('t1', 'cordovaAppUpdate', 'getLocalVersion', '[]'); } catch (e) { threw = true; }
    window.zelNativeCallback = (id, status) => { later = {id, status}; };
    zelPlugin.exec('t2', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    window.zelNativeCallback = collect;
    report('throwing', {threw, later});
  }, function silence() {
    for (const [plugin, method] of [['noSuchPlugin', 'getLocalVersion'], ['', ''], ['__proto__', 'getLocalVersion'],
                                    ['constructor', 'getLocalVersion'], ['cordovaappupdate', 'getLocalVersion']]) {
      call('u', plugin, method, '[]');
    }
    zelPlugin.exec();
    zelPlugin.exec(1, 2, 3, 4);
    mark('markAfter');
    const methods = ['noSuchMethod', 'getlocalversion', 'getLocalVersion:', 'constructor', '__proto__', 'toString',
                     'exportMethod', '', `q"uote'\\back %@ %s`];
    for (const m of methods) call('m', 'cordovaAppUpdate', m, '[]');
    report('silence', {methods, answers: take()});
  }, function reentrant() {
    const events = [];
    window.zelNativeCallback = function (id) {
      events.push(`cb${id}`);
      const n = Number(id);
      if (n < 5) events.push(`exec${n + 1}`), get(String(n + 1)), events.push(`ret${n + 1}`);
      if (n === 1) {  // state written by a nested call is what the next nested call reads
        put('inside');
        window.zelNativeCallback = (innerId, innerStatus, result) => events.push(`read ${result}`);
        get('get');
      }
    };
    events.push('exec1');
    get('1');
    events.push('ret1');
    window.zelNativeCallback = collect;
    report('reentrant', events);
  }, function hostile() {
    // Each string as a version, a call id and a user's name, compared as UTF-8 carries them.
    const strings = ['"double" quotes', "'single'", 'back\\slash \\n \\u0041 \\', 'line\nfeed', 'carriage\rreturn',
                     'tab\there', 'separators\u2028line\u2029paragraph', '</script><script>throw 1</script>',
                     '${x} `tick` ${`nested`}', '<!-- comment -->', 'nul\u0000byte', 'lone\ud800high', 'lone\udc00low',
                     'low\udc00\ud800high', 'pair\ud83d\ude00', '中文 ünïcödé', '\u0085\u00a0\ufeff', '%s %@ %n %hhd %%',
                     '{"json":["text"]}', '', ' ', 'x'.repeat(1 << 20) + '中'];
    const utf8 = (s) => new TextEncoder().encode(s), wellFormed = (s) => new TextDecoder().decode(utf8(s));
    const wrong = [];
    for (const s of strings) {
      put(s);
      take();
      get(s);
      const a = take()[0] || {};
      const text = wellFormed(s).replace(/"/g, '\\"').replace(/\n/g, '\\n');  // only these are escaped
      const expected = `{"bundleVersion":"0.1.0","cacheVersion":"${text}"}`;
      if (wellFormed(String(a.id)) !== wellFormed(s) || a.result !== expected) wrong.push({s, answer: a});
      call('info', 'cordovaUserInfo', 'setUserInfo', JSON.stringify([{nickname: s, avatarSrc: `avatar:${s}`}]));
    }
    report('hostile', {wrong, texts: strings.map((s) => Array.from(utf8(s)))});
  }];

  const frames = () => {
    const seen = [];
    window.addEventListener('message', (event) => {
      if (seen.push(event.data) < 4) return;  // a static frame and a dynamic one, each with a nested frame
      report('frames', {frames: seen, topAnswers: take().map((a) => a.id)});
      location.href = 'second.html?case=second';
    });
    const add = () => addFrame('depth=1&name=static').addEventListener('load', () => addFrame('depth=1&name=dynamic'), {once: true});
    document.addEventListener('DOMContentLoaded', add);  // the second once the first has loaded
  };

  const fetched = async (target, init = {cache: 'no-store'}) => {
    try {
      const r = await fetch(target, init), body = await r.text(), header = (name) => r.headers.get(name);
      return {target, status: r.status, cache: header('X-HY-HASHMAP-CACHE'), headerNames: Array.from(r.headers.keys()),
              server: header('server'), cacheControl: header('cache-control'), body: body.slice(0, 200),
              json: header('content-type') === 'application/json' ? JSON.parse(body) : null};
    } catch (e) {
      return {target, error: String(e)};
    }
  };

  // The web app at its service's address (the page's host is a loopback server; "other" is a second origin).
  const origin = async () => {
    const other = `http://${params.get('other')}`;
    const out = {origin: location.origin, get: await fetched('/api/ping?n=1'), cookie: document.cookie};
    if (params.get('pass') === 'again') return report('origin', out);
    out.post = await fetched('/api/ping', {method: 'POST', body: 'posted text'});
    out.corsOpen = await fetched(`${other}/api/cors-open`, {credentials: 'include'});
    out.corsClosed = await fetched(`${other}/api/cors-closed`);
    const r = await fetch('media/tone.wav', {headers: {Range: 'bytes=100-199'}});
    out.range = {status: r.status, contentRange: r.headers.get('Content-Range'), length: (await r.arrayBuffer()).byteLength,
                 cache: r.headers.get('X-HY-HASHMAP-CACHE')};
    out.beyond = (await fetch('media/tone.wav', {headers: {Range: 'bytes=20000-'}})).status;
    out.media = await new Promise((resolve) => {
      const audio = Object.assign(new Audio('media/tone.wav'), {muted: true});
      audio.onerror = () => resolve({error: audio.error && audio.error.code});
      audio.onloadedmetadata = () => {
        audio.onseeked = () => resolve({duration: audio.duration, at: audio.currentTime});
        audio.currentTime = 1.5;
      };
    });
    out.socket = await new Promise((resolve) => {
      const socket = new WebSocket(`ws://${location.host}/api/echo`);
      socket.onopen = () => socket.send('hello over the proxy');
      socket.onmessage = (event) => { resolve(event.data); socket.close(); };
      socket.onerror = () => resolve('error');
    });
    out.frame = await new Promise((resolve) => {
      window.addEventListener('message', (event) => resolve(event.data), {once: true});
      document.body.appendChild(Object.assign(document.createElement('iframe'), {src: `${other}/frame`}));
    });
    report('origin', out);
    const results = [];
    for (const target of params.getAll('target')) results.push(await fetched(target));
    report('scheme', results);
    // Four quadrants: links, window.open, and a button that later (past the gesture) sends the view outside.
    const quadrant = (tag, text, style, onclick) => {
      const e = Object.assign(document.createElement(tag), {textContent: text, onclick});
      e.style = `position:fixed;width:50%;height:50%;border:1px solid;font:24px sans-serif;${style}`;
      e.onmouseenter = () => report('hover', text);
      return document.body.appendChild(e);
    };
    quadrant('a', 'link', 'left:0;top:0').href = 'http://external.example.test/link?from=probe';
    Object.assign(quadrant('a', 'new window link', 'right:0;top:0'), {href: 'http://external.example.test/blank', target: '_blank'});
    quadrant('button', 'window.open', 'left:0;bottom:0', () => window.open('http://external.example.test/open'));
    quadrant('button', 'still here?', 'right:0;bottom:0', () => {
      report('alive', {loadId, href: location.href, type: typeof zelPlugin});
      setTimeout(() => {
        location.href = params.get('away');
        setTimeout(() => report('stayed', {loadId, href: location.href, type: typeof zelPlugin}), 1000);
      }, 1500);
    });
    report('layout', {width: innerWidth, height: innerHeight});
  };

  if (testCase === 'bridge') {
    frames();
    for (const step of bridge) {
      mark(`mark_${step.name}`);
      step();
    }
    mark('markDone');
  } else if (testCase === 'origin') {
    window.addEventListener('load', origin);
  } else if (testCase === 'search') {
    for (const name of ['showSuggestion', 'hideSuggestion', 'updateQuery', 'searchQuery', 'logout'])
      window[name] = (...args) => report('call', `${name}(${args.join(',')})`);
    // A second history entry for the header's back and forward buttons, and a signed-in user.
    window.addEventListener('popstate', () => report('popstate', {hash: location.hash}));
    history.pushState(null, '', '#two');
    call('user', 'cordovaUserInfo', 'setUserInfo', JSON.stringify([{nickname: 'alice', avatarSrc: params.get('avatar')}]));
  } else if (testCase === 'login') {
    // Logins fail, ask for a code, then succeed; "l" opens the window again; Copy reports the selection.
    const user = (method, ...args) => call('l', 'cordovaUserLogin', method, JSON.stringify(args));
    let attempts = 0;
    window.login = (...args) => {
      report('login', {args});
      attempts += 1;
      if (attempts === 1) user('setLoginErrorMessage', '密码错误');
      if (attempts === 2) user('setLoginNeedVerifyCode', 'true'), user('setLoginVerifyCodeImageSrc', params.get('code'));
      if (attempts >= 3) user('setLoginStatus', '0');
    };
    document.addEventListener('keydown', (e) => { if (e.key === 'l') user('showLoginWindow'); });
    document.addEventListener('copy', () => report('copied', String(window.getSelection())));
    document.addEventListener('DOMContentLoaded', () => {
      window.getSelection().selectAllChildren(document.body.appendChild(Object.assign(document.createElement('p'), {textContent: 'copy me'})));
    });
    // Before the login window exists these have nothing to act on.
    for (const [method, value] of [['setLoginStatus', '0'], ['setLoginErrorMessage', 'no window yet'], ['setLoginNeedVerifyCode', 'true']])
      user(method, value);
    user('showLoginWindow', {ignored: true});
    report('login-shown', {answers: take()});
  } else if (testCase === 'refresh' || testCase === 'miss') {
    const BUILD = 'bundle';  // 'published' in the copy the web cache serves
    let published = '';
    window.zelNativeCallback = function (id, status, result) {
      report('answer', {id, status, argc: arguments.length, result: result ?? null});
      if (id === 'refresh' && published) {  // as the web app records the version a refresh has brought
        put(published);
        get('recorded');
      }
    };
    (async () => {
      report('cached', {build: BUILD, script: await fetched('js/probe.js')});
      if (testCase === 'miss') {
        report('miss', await fetched('missing.js'));
        // Then a script from a server that never answers; a click takes the page elsewhere while it waits.
        const src = `http://${params.get('stall')}/player/mac/www/stall.js`;
        document.head.append(Object.assign(document.createElement('script'), {src}));
        document.addEventListener('mousedown', () => { location.href = 'index.html?case=after'; });
        report('waiting', {});
      } else {
        const version = await fetched(`version.txt?${Date.now()}`);
        published = version.body.trim();
        report('published', version);
        call('refresh', 'cordovaAppUpdate', 'refreshWebCache', '[]');
      }
    })();
  }
})();
