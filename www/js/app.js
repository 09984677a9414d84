// A small stand-in for the service's web app: it defines every function the shell calls and uses the bridge.
(function () {
  'use strict';
  const $ = (id) => document.getElementById(id);
  let playing = false;
  const songs = ['晴天 — 周杰伦', '后来 — 刘若英', '平凡之路 — 朴树'];
  let current = 0;

  function note(text) {
    const item = document.createElement('li');
    item.textContent = `${new Date().toLocaleTimeString()}  ${text}`;
    $('log').prepend(item);
    while ($('log').children.length > 30) $('log').lastChild.remove();
  }

  function render() {
    $('now-playing').textContent = songs[current] + (playing ? '' : '(已暂停)');
    $('play').textContent = playing ? '⏸' : '▶';
  }

  // Functions the shell calls by name.
  window.tooglePlayPause = () => { playing = !playing; render(); note('tooglePlayPause'); };
  window.forward = () => { current = (current + 1) % songs.length; render(); note('forward'); };
  window.backward = () => { current = (current + songs.length - 1) % songs.length; render(); note('backward'); };
  window.showSuggestion = () => { $('suggestions').hidden = false; note('showSuggestion'); };
  window.hideSuggestion = () => { $('suggestions').hidden = true; note('hideSuggestion'); };
  window.updateQuery = (q) => {
    const list = $('suggestions');
    list.replaceChildren(...songs.filter((s) => q && s.includes(q)).map((s) => {
      const li = document.createElement('li');
      li.textContent = s;
      return li;
    }));
    note(`updateQuery ${q}`);
  };
  window.searchQuery = (q) => { $('query').textContent = `搜索:${q}`; note(`searchQuery ${q}`); };
  window.login = (user, password, code) => {
    note(`login ${user}`);
    if (!password) {
      ostrelleNative('cordovaUserLogin', 'setLoginErrorMessage', ['请输入密码']);
      ostrelleNative('cordovaUserLogin', 'setLoginStatus', ['1']);
      return;
    }
    ostrelleNative('cordovaUserLogin', 'setLoginStatus', ['0']);
    ostrelleNative('cordovaUserInfo', 'setUserInfo', [{nickname: user, avatarSrc: ''}]);
    $('user').textContent = `已登录:${user}`;
  };
  window.logout = () => {
    ostrelleNative('cordovaUserInfo', 'setUserInfo', [{nickname: '', avatarSrc: ''}]);
    $('user').textContent = '未登录';
    note('logout');
  };
  window.updateVerifyCode = () => note('updateVerifyCode');
  window.feedback = (text, contact) => note(`feedback ${text} ${contact}`);
  for (const name of ['loveSong', 'deloveSong', 'addSongToITunes', 'removeSongFromITunes', 'removeDiyList',
                      'renameDiyList']) {
    window[name] = (record) => note(`${name} ${record}`);
  }
  window.addSongToDiyList = (song, listId) => note(`addSongToDiyList ${song} ${listId}`);
  window.createDiyList = () => note('createDiyList');

  $('play').addEventListener('click', () => window.tooglePlayPause());
  $('next').addEventListener('click', () => window.forward());
  $('prev').addEventListener('click', () => window.backward());
  $('open-login').addEventListener('click', () => ostrelleNative('cordovaUserLogin', 'showLoginWindow', []));

  const bridged = ostrelleNative('cordovaAppUpdate', 'getLocalVersion', [], (status, result) => {
    const v = JSON.parse(result);
    $('versions').textContent = `程序 ${v.bundleVersion} · 网页缓存 ${v.cacheVersion || '无'}`;
  });
  if (!bridged) $('versions').textContent = '不在 Ostrelle 中运行';
  render();
})();
