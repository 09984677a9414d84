// The test web app. It reports what it observes as console lines "PROBE <tag> <JSON>" (the program runs with
// --console-log); the JSON is kept to printable ASCII so that every report is exactly one line. The query's
// "case" picks what the page does after reporting "ready".
(function () {
  'use strict';

  const ascii = (s) => s.replace(/[^\x20-\x7e]/g, (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
  const report = (tag, value) => console.log(`PROBE ${tag} ${ascii(JSON.stringify(value === undefined ? null : value))}`);
  const units = (s) => Array.from({length: s.length}, (_, i) => s.charCodeAt(i));

  function shape(w) {
    const p = w.zelPlugin;
    const forIn = [];
    if (p) for (const key in p) forIn.push(key);
    return {
      type: typeof p,
      ownKeys: p ? Reflect.ownKeys(p).map(String) : null,
      forIn,
      prototype: p ? (Object.getPrototypeOf(p) === null ? 'null' : 'other') : null,
      execType: p ? typeof p.exec : null,
      // Nothing of the bridge's own should be visible on the window besides zelPlugin.
      windowNames: Object.getOwnPropertyNames(w).filter((n) => /^(zel|__zel|ostrelle)/i.test(n)),
    };
  }

  const early = shape(window);
  const params = new URLSearchParams(location.search);
  const testCase = params.get('case') || '';
  const loadId = Math.random().toString(36).slice(2);

  // Every answer the native side sends this page, with whether it arrived inside a zelPlugin.exec call.
  const answers = [];
  let execDepth = 0;
  window.zelNativeCallback = function (id, status, result) {
    answers.push({id, status, result, argc: arguments.length, insideExec: execDepth > 0});
  };
  function call(id, plugin, method, paramsText) {
    execDepth++;
    try {
      return zelPlugin.exec(id, plugin, method, paramsText);
    } finally {
      execDepth--;
    }
  }
  function take() {
    return answers.splice(0, answers.length);
  }

  call('ready', 'cordovaAppUpdate', 'getLocalVersion', '[]');
  report('ready', {
    page: location.pathname.split('/').pop(),
    case: testCase,
    href: location.href,
    loadId,
    early,
    answered: take().some((a) => a.id === 'ready' && a.status === 0),
  });
  window.addEventListener('pageshow', (event) => {
    if (event.persisted) report('pageshow', {page: location.pathname.split('/').pop(), loadId, shape: shape(window)});
  });

  const cases = {};

  cases.sync = function () {
    const returned = call('7', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    report('sync', {returned: returned === undefined ? 'undefined' : typeof returned, answers: take()});

    const ids = ['7', 7, 0, -1.5, true, false, null, {a: [1, 'b']}, [1, 2], '', 'q"\\\u2028</script>${x}'];
    for (const id of ids) call(id, 'cordovaAppUpdate', 'getLocalVersion', '[]');
    call(undefined, 'cordovaAppUpdate', 'getLocalVersion', '[]');
    report('ids', {sent: ids.concat([null]), back: take().map((a) => a.id)});

    // A callback that throws must not turn into an exception of exec, nor stop later calls.
    window.zelNativeCallback = () => {
      throw new Error('callback failed on purpose');
    };
    let threw = false;
    try {
      zelPlugin.exec('t1', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    } catch (e) {
      threw = true;
    }
    let later = null;
    window.zelNativeCallback = (id, status) => {
      later = {id, status};
    };
    zelPlugin.exec('t2', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    report('throwing', {threw, later});
  };

  cases.reentrant = function () {
    const events = [];
    const depth = 5;
    window.zelNativeCallback = function (id, status, result) {
      events.push(`cb${id}`);
      const n = Number(id);
      if (n < depth) {
        events.push(`exec${n + 1}`);
        zelPlugin.exec(String(n + 1), 'cordovaAppUpdate', 'getLocalVersion', '[]');
        events.push(`ret${n + 1}`);
      }
      if (n === 1) {
        // State written by a nested call is what the next nested call reads.
        const version = JSON.stringify({cacheVersion: 'written-inside-a-callback'});
        zelPlugin.exec('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([version]));
        window.zelNativeCallback = (innerId, innerStatus, innerResult) => events.push(`read ${innerResult}`);
        zelPlugin.exec('get', 'cordovaAppUpdate', 'getLocalVersion', '[]');
      }
    };
    events.push('exec1');
    zelPlugin.exec('1', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    events.push('ret1');
    report('reentrant', events);
  };

  cases.silence = function () {
    call('before', 'cordovaMenu', 'markBefore', '[]');
    call('u1', 'noSuchPlugin', 'getLocalVersion', '[]');
    call('u2', '', '', '');
    call('u3', '__proto__', 'getLocalVersion', '[]');
    call('u4', 'constructor', 'getLocalVersion', '[]');
    call('u5', 'cordovaappupdate', 'getLocalVersion', '[]');
    zelPlugin.exec();
    zelPlugin.exec(1, 2, 3, 4);
    call('after', 'cordovaMenu', 'markAfter', '[]');
    const methods = ['noSuchMethod', 'getlocalversion', 'getLocalVersion:', 'constructor', '__proto__', 'toString',
                     'exportMethod', '', `q"uote'\\back %@ %s`];
    for (const m of methods) call('m', 'cordovaAppUpdate', m, '[]');
    call('m', 'cordovaMenu', 'noSuchMethod', '[]');
    call('done', 'cordovaMenu', 'markDone', '[]');
    report('silence', {methods, answers: take()});
  };

  cases.hostile = function () {
    const strings = ['"double" quotes', "'single'", 'back\\slash \\n \\u0041 \\', 'line\nfeed', 'carriage\rreturn',
                     'tab\there', 'separators\u2028line\u2029paragraph', '</script><script>throw 1</script>',
                     '${x} `tick` ${`nested`}', '<!-- comment -->', 'nul\u0000byte', 'lone\ud800high',
                     'lone\udc00low', 'low\udc00\ud800high', 'pair\ud83d\ude00', '中文 ünïcödé', '\u0085\u00a0\ufeff',
                     '%s %@ %n %hhd %%', '{"json":["text"]}', '', ' '];
    strings.forEach((s, index) => {
      call('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([JSON.stringify({cacheVersion: s})]));
      take();
      call(s, 'cordovaAppUpdate', 'getLocalVersion', '[]');
      const answer = take()[0] || null;
      call('info', 'cordovaUserInfo', 'setUserInfo', JSON.stringify([{nickname: s, avatarSrc: `avatar:${s}`}]));
      report('hostile', {
        index,
        last: index === strings.length - 1,
        units: units(s),
        idUnits: answer ? units(String(answer.id)) : null,
        result: answer ? answer.result : null,
      });
    });
    call('done', 'cordovaMenu', 'markDone', '[]');
  };

  cases.megabyte = function () {
    const big = 'x'.repeat(1 << 20) + '中' + 'y'.repeat(1000);
    call('put', 'cordovaAppUpdate', 'putLocalVersion', JSON.stringify([JSON.stringify({cacheVersion: big})]));
    call('get', 'cordovaAppUpdate', 'getLocalVersion', '[]');
    const bigId = 'i'.repeat(1 << 20);
    call(bigId, 'cordovaAppUpdate', 'getLocalVersion', '[]');
    call('info', 'cordovaUserInfo', 'setUserInfo', JSON.stringify([{nickname: big, avatarSrc: 'a'}]));
    const got = take();
    const expected = `{"bundleVersion":"0.1.0","cacheVersion":"${big}"}`;
    report('megabyte', {
      answers: got.length,
      resultMatches: got[0] !== undefined && got[0].result === expected,
      resultLength: got[0] !== undefined ? got[0].result.length : -1,
      idMatches: got[1] !== undefined && got[1].id === bigId,
    });
    call('done', 'cordovaMenu', 'markDone', '[]');
  };

  cases.malformed = function () {
    const texts = ['{not json', '', '"just text"', '[1, 2', '['.repeat(100000), ']'.repeat(3), 'null', '42',
                   '[{"nickname":"ok","avatarSrc":"img"}] trailing', '[{"nickname":"ok"}]]', '\ud800'];
    for (const t of texts) call('info', 'cordovaUserInfo', 'setUserInfo', t);
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo');
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo', 42);
    zelPlugin.exec('info', 'cordovaUserInfo', 'setUserInfo', {toString: () => '[{"nickname":"from toString","avatarSrc":"x"}]'});
    call('put', 'cordovaAppUpdate', 'putLocalVersion', '[');
    call('put', 'cordovaAppUpdate', 'putLocalVersion', '[42]');
    call('put', 'cordovaAppUpdate', 'putLocalVersion', '["{\\"cacheVersion\\":7}"]');
    call('get', 'cordovaAppUpdate', 'getLocalVersion', 'not json at all');
    call('done', 'cordovaMenu', 'markDone', '[]');
    report('malformed', {answers: take().map((a) => ({id: a.id, status: a.status, result: a.result}))});
  };

  cases.navigate = function () {
    if (sessionStorage.getItem('navigated')) return;
    sessionStorage.setItem('navigated', '1');
    setTimeout(() => {
      location.href = 'second.html?case=back';
    }, 0);
  };

  cases.back = function () {
    setTimeout(() => history.back(), 0);
  };

  cases.frames = function () {
    const seen = [];
    const expected = 4;  // a static frame and a dynamic one, each with a nested frame
    window.addEventListener('message', (event) => {
      seen.push(event.data);
      if (seen.length === expected) {
        report('frames-done', {frames: seen, topAnswers: take().map((a) => a.id)});
      }
    });
    const add = (query) => {
      const frame = document.createElement('iframe');
      frame.src = `frame.html?${query}`;
      document.body.appendChild(frame);
      return frame;
    };
    document.addEventListener('DOMContentLoaded', () => {
      add('depth=1&name=static').addEventListener('load', () => add('depth=1&name=dynamic'), {once: true});
    });
  };

  cases.search = function () {
    for (const name of ['showSuggestion', 'hideSuggestion', 'updateQuery', 'searchQuery', 'logout']) {
      window[name] = function () {
        report('call', {name, args: Array.from(arguments)});
      };
    }
    // A second history entry for the header's back and forward buttons, and a signed-in user.
    window.addEventListener('popstate', () => report('popstate', {hash: location.hash}));
    history.pushState(null, '', '#two');
    const avatarSrc = params.get('avatar');
    if (avatarSrc) call('user', 'cordovaUserInfo', 'setUserInfo', JSON.stringify([{nickname: 'alice', avatarSrc}]));
  };

  // The login window's road: the first login fails, the second asks for a code (picture at the query's
  // "code"), the third succeeds. "l" in the page opens the window again; the page's selection is reported when
  // the native Copy reaches it.
  cases.login = function () {
    let attempts = 0;
    window.login = function () {
      report('login', {args: Array.from(arguments)});
      attempts += 1;
      if (attempts === 1) call('e', 'cordovaUserLogin', 'setLoginErrorMessage', JSON.stringify(['密码错误']));
      if (attempts === 2) {
        call('n', 'cordovaUserLogin', 'setLoginNeedVerifyCode', JSON.stringify(['true']));
        call('i', 'cordovaUserLogin', 'setLoginVerifyCodeImageSrc', JSON.stringify([params.get('code')]));
      }
      if (attempts >= 3) call('status', 'cordovaUserLogin', 'setLoginStatus', JSON.stringify(['0']));
    };
    window.feedback = function () {
      report('feedback', {args: Array.from(arguments)});
    };
    document.addEventListener('keydown', (e) => {
      if (e.key === 'l') call('show', 'cordovaUserLogin', 'showLoginWindow', '[]');
    });
    document.addEventListener('copy', () => report('copied', String(window.getSelection())));
    document.addEventListener('DOMContentLoaded', () => {
      const text = document.createElement('p');
      text.textContent = 'copy me';
      document.body.appendChild(text);
      window.getSelection().selectAllChildren(text);
    });
    // Before the login window exists these have nothing to act on.
    call('early', 'cordovaUserLogin', 'setLoginStatus', JSON.stringify(['0']));
    call('early', 'cordovaUserLogin', 'setLoginErrorMessage', JSON.stringify(['no window yet']));
    call('early', 'cordovaUserLogin', 'setLoginNeedVerifyCode', JSON.stringify(['true']));
    call('show', 'cordovaUserLogin', 'showLoginWindow', JSON.stringify([{ignored: true}]));
    report('login-shown', {answers: take()});
  };

  cases.scheme = async function () {
    const targets = params.getAll('target');
    const results = [];
    for (const target of targets) {
      try {
        const response = await fetch(target, {cache: 'no-store'});
        const body = await response.text();
        results.push({
          target,
          status: response.status,
          cache: response.headers.get('X-HY-HASHMAP-CACHE'),
          headerNames: Array.from(response.headers.keys()),
          length: body.length,
          body: body.slice(0, 200),
        });
      } catch (e) {
        results.push({target, error: String(e)});
      }
    }
    report('scheme', results);
  };

  cases.external = function () {
    document.addEventListener('DOMContentLoaded', () => {
      const style = document.createElement('style');
      style.textContent = '.q{position:fixed;box-sizing:border-box;width:50%;height:50%;margin:0;border:1px solid;' +
                          'display:flex;align-items:center;justify-content:center;font:24px sans-serif}';
      document.head.appendChild(style);
      const quadrant = (tag, x, y, text) => {
        const element = document.createElement(tag);
        element.className = 'q';
        element.style[x] = '0';
        element.style[y] = '0';
        element.textContent = text;
        element.addEventListener('mouseenter', () => report('hover', {text}));
        document.body.appendChild(element);
        return element;
      };
      quadrant('a', 'left', 'top', 'link').href = 'http://external.example.test/link?from=probe';
      const blank = quadrant('a', 'right', 'top', 'new window link');
      blank.href = 'http://external.example.test/blank';
      blank.target = '_blank';
      quadrant('button', 'left', 'bottom', 'window.open').addEventListener('click', () => {
        window.open('http://external.example.test/open');
      });
      quadrant('button', 'right', 'bottom', 'still here?').addEventListener('click', () => {
        report('alive', {loadId, href: location.href, type: typeof zelPlugin});
      });
      report('layout', {width: innerWidth, height: innerHeight});
    });
  };

  // The page sends the whole view to an outside address by script, then says whether it is still there.
  cases.leave = function () {
    window.addEventListener('load', () => {
      location.href = params.get('away');
      setTimeout(() => report('alive', {loadId, href: location.href, type: typeof zelPlugin}), 1000);
    });
  };

  if (cases[testCase]) cases[testCase]();
})();
