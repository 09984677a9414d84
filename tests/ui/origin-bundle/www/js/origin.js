// The web app's view of its own origin: reports "PROBE origin <JSON>" with what a page of a real service
// relies on. The query names the second origin ("other", host:port) and the pass ("first" or "again").
(async function () {
  'use strict';
  const report = (tag, value) => console.log(`PROBE ${tag} ${JSON.stringify(value)}`);
  const params = new URLSearchParams(location.search);
  const other = `http://${params.get('other')}`;
  const out = {origin: location.origin, bridge: typeof window.zelPlugin};
  const json = async (p) => {
    try {
      const r = await p;
      return {status: r.status, body: await r.json()};
    } catch (e) {
      return {error: String(e)};
    }
  };
  if (params.get('pass') === 'again') {
    out.get = await json(fetch('/api/ping'));
    out.cookie = document.cookie;
    report('origin', out);
    return;
  }
  out.get = await json(fetch('/api/ping?n=1'));
  out.cookie = document.cookie;
  out.post = await json(fetch('/api/ping', {method: 'POST', body: 'posted text'}));
  out.corsOpen = await json(fetch(`${other}/api/cors-open`, {credentials: 'include'}));
  out.corsClosed = await json(fetch(`${other}/api/cors-closed`));
  out.missing = (await fetch('missing.js')).status;
  const ranged = await fetch('media/tone.wav', {headers: {Range: 'bytes=100-199'}});
  out.range = {status: ranged.status, contentRange: ranged.headers.get('Content-Range'),
               length: (await ranged.arrayBuffer()).byteLength, cache: ranged.headers.get('X-HY-HASHMAP-CACHE')};
  out.media = await new Promise((resolve) => {
    const audio = new Audio('media/tone.wav');
    audio.muted = true;
    audio.addEventListener('error', () => resolve({error: audio.error && audio.error.code}));
    audio.addEventListener('loadedmetadata', () => {
      audio.addEventListener('seeked', () => resolve({duration: audio.duration, at: audio.currentTime}),
                             {once: true});
      audio.currentTime = 1.5;
    }, {once: true});
    audio.load();
  });
  out.socket = await new Promise((resolve) => {
    const socket = new WebSocket(`ws://${location.host}/api/echo`);
    socket.onopen = () => socket.send('hello over the proxy');
    socket.onmessage = (event) => { resolve(event.data); socket.close(); };
    socket.onerror = () => resolve('error');
  });
  out.frame = await new Promise((resolve) => {
    window.addEventListener('message', (event) => resolve(event.data), {once: true});
    const frame = document.createElement('iframe');
    frame.src = `${other}/frame`;
    document.body.appendChild(frame);
  });
  report('origin', out);
})();
