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
  // The suggestion list under the header's search field: open while the field has the focus, following the
  // typed text; an empty text shows the popular searches.
  const popular = ['周杰伦', '朴树', '平凡之路'];
  let query = '';
  function renderSuggestions() {
    const matches = query ? songs.filter((s) => s.includes(query)) : popular;
    $('suggestions-title').textContent = query ? `“${query}” 的建议` : '热门搜索';
    $('suggestion-list').replaceChildren(...matches.map((s) => {
      const li = document.createElement('li');
      li.textContent = s;
      return li;
    }));
  }
  window.showSuggestion = () => { renderSuggestions(); $('suggestions').hidden = false; note('showSuggestion'); };
  window.hideSuggestion = () => { $('suggestions').hidden = true; note('hideSuggestion'); };
  window.updateQuery = (q) => { query = q || ''; renderSuggestions(); note(`updateQuery ${q}`); };
  // Each search is a page of its own (#search/<text>), so the header's back and forward buttons walk them.
  window.searchQuery = (q) => {
    note(`searchQuery ${q}`);
    location.hash = `search/${encodeURIComponent(q || '')}`;
  };
  function renderPage() {
    const m = /^#search\/(.*)$/.exec(location.hash);
    const q = m ? decodeURIComponent(m[1]) : null;
    $('query').textContent = q === null ? '在窗口顶部的搜索框中输入。' : `搜索:${q}`;
    $('page').textContent = `页面:${location.hash || '#'}(共 ${history.length} 页)`;
  }
  window.addEventListener('hashchange', renderPage);

  // The signed-in user for the header: name and an avatar picture served beside the web app.
  function showUser(name) {
    const avatarSrc = name ? new URL('img/avatar.png', location.href).href : '';
    ostrelleNative('cordovaUserInfo', 'setUserInfo', [{nickname: name, avatarSrc}]);
    $('user-name').textContent = name ? `已登录:${name}` : '未登录';
    $('avatar').hidden = !name;
    if (name) $('avatar').src = avatarSrc;
  }
  // The service's side of the login window: one demo account; after two failures a verification code is asked
  // for, its picture served beside the web app.
  const demo = {user: 'demo', password: 'ostrelle', code: '7k3p'};
  let failures = 0;
  let codePictures = 0;
  function askForCode() {
    ostrelleNative('cordovaUserLogin', 'setLoginNeedVerifyCode', ['true']);
    codePictures += 1;
    const src = new URL(`img/verifycode.png?n=${codePictures}`, location.href).href;
    ostrelleNative('cordovaUserLogin', 'setLoginVerifyCodeImageSrc', [src]);
  }
  function refuse(message) {
    failures += 1;
    ostrelleNative('cordovaUserLogin', 'setLoginErrorMessage', [message]);
    if (failures >= 2) askForCode();
  }
  window.login = (user, password, code) => {
    note(`login ${user}`);
    if (!user || !password) return refuse('请输入用户名和密码');
    if (failures >= 2 && code.toLowerCase() !== demo.code) return refuse('验证码错误，请重新输入');
    if (user !== demo.user || password !== demo.password) return refuse('用户名或密码错误');
    failures = 0;
    ostrelleNative('cordovaUserLogin', 'setLoginStatus', ['0']);
    showUser(user);
  };
  window.logout = () => {
    showUser('');
    note('logout');
  };
  window.updateVerifyCode = () => {
    note('updateVerifyCode');
    askForCode();
  };
  window.feedback = (text, contact) => {
    note('feedback');
    $('feedback-text').textContent = text;
    $('feedback-contact').textContent = contact || '(未填写)';
  };
  // Song rows and the user's playlists open the native context menus; the menu choices come back here.
  const library = [
    {songId: 1, songName: '晴天', albumName: '叶惠美', artistName: '周杰伦', source: 'list'},
    {songId: 2, songName: '后来', albumName: '我的失败与伟大', artistName: '刘若英', source: 'fav'},
    {songId: 3, songName: '平凡之路', albumName: '猎户星座', artistName: '朴树', source: 'itunes'},
  ];
  let diyLists = [{listId: 101, name: '通勤'}, {listId: 102, name: '深夜'}];
  let nextListId = 103;
  const sourceNames = {fav: '收藏', itunes: 'iTunes'};
  function renderLibrary() {
    $('songs').replaceChildren(...library.map((song) => {
      const li = document.createElement('li');
      li.textContent = `${song.songName} — ${song.artistName} ${sourceNames[song.source] ? `(${sourceNames[song.source]})` : ''}`;
      li.addEventListener('contextmenu', (e) => {
        e.preventDefault();
        ostrelleNative('cordovaMenu', 'showSongMenu', [{x: e.clientX, y: e.clientY, song}]);
      });
      return li;
    }));
    $('lists').replaceChildren(...diyLists.map((list) => {
      const li = document.createElement('li');
      li.textContent = `歌单:${list.name}`;
      li.addEventListener('contextmenu', (e) => {
        e.preventDefault();
        ostrelleNative('cordovaMenu', 'showDiyListMenu', [{x: e.clientX, y: e.clientY, list}]);
      });
      return li;
    }));
    ostrelleNative('cordovaMenu', 'updateSongMenuDiyListData', [diyLists]);
  }
  const songOf = (text) => library.find((s) => s.songId === JSON.parse(text).songId);
  const setSource = (text, source) => { const song = songOf(text); if (song) song.source = source; renderLibrary(); };
  window.loveSong = (song) => { note(`loveSong ${song}`); setSource(song, 'fav'); };
  window.deloveSong = (song) => { note(`deloveSong ${song}`); setSource(song, 'list'); };
  window.addSongToITunes = (song) => { note(`addSongToITunes ${song}`); setSource(song, 'itunes'); };
  window.removeSongFromITunes = (song) => { note(`removeSongFromITunes ${song}`); setSource(song, 'list'); };
  window.addSongToDiyList = (song, listId) => note(`addSongToDiyList ${song} ${listId}`);
  window.createDiyList = () => {
    diyLists.push({listId: nextListId, name: `新歌单 ${nextListId++}`});
    note('createDiyList');
    renderLibrary();
  };
  window.removeDiyList = (list) => {
    diyLists = diyLists.filter((l) => l.listId !== JSON.parse(list).listId);
    note(`removeDiyList ${list}`);
    renderLibrary();
  };
  window.renameDiyList = (list) => {
    const found = diyLists.find((l) => l.listId === JSON.parse(list).listId);
    if (found) found.name += '(已改名)';
    note(`renameDiyList ${list}`);
    renderLibrary();
  };

  $('play').addEventListener('click', () => window.tooglePlayPause());
  $('next').addEventListener('click', () => window.forward());
  $('prev').addEventListener('click', () => window.backward());
  $('open-login').addEventListener('click', () => ostrelleNative('cordovaUserLogin', 'showLoginWindow', []));

  function showVersions(callback) {
    return ostrelleNative('cordovaAppUpdate', 'getLocalVersion', [], (status, result) => {
      const v = JSON.parse(result);
      $('versions').textContent = `程序 ${v.bundleVersion} · 网页缓存 ${v.cacheVersion || '无'}`;
      if (callback) callback(v);
    });
  }

  // Updates: the static file server publishes its version beside the web app (version.txt, never cached, so it
  // always comes from the network). A newer one is fetched into the cache through the hash maps, recorded with
  // putLocalVersion, and served from the cache from the next start on.
  const updateStatus = (text) => { $('update-status').textContent = text; note(text); };
  function checkForUpdates() {
    updateStatus('正在检查更新…');
    showVersions((local) => {
      fetch(`version.txt?${Date.now()}`, {cache: 'no-store'})
        .then((response) => (response.ok ? response.text() : Promise.reject(new Error(`HTTP ${response.status}`))))
        .then((text) => {
          const published = text.trim();
          if (!/^\d{4}\/\d{1,2}\/\d{1,2}$/.test(published)) throw new Error(`版本号无效:${published}`);
          if (published === local.cacheVersion) {
            updateStatus(`网页已是最新(${published})`);
            return;
          }
          updateStatus(`正在下载 ${published}…`);
          // Answered each time a refresh ends.
          ostrelleNative('cordovaAppUpdate', 'refreshWebCache', [], () => {
            ostrelleNative('cordovaAppUpdate', 'putLocalVersion', [JSON.stringify({cacheVersion: published})]);
            showVersions();
            updateStatus(`已下载 ${published},重新启动后生效`);
          }, true);
        })
        .catch((error) => updateStatus(`无法检查更新:${error.message}`));
    });
  }
  $('check-update').addEventListener('click', checkForUpdates);
  $('clear-cache').addEventListener('click', () => {
    ostrelleNative('cordovaAppUpdate', 'clearWebCache', []);
    showVersions();
    updateStatus('网页缓存已清除,重新启动后使用程序自带的网页');
  });

  const bridged = showVersions();
  if (!bridged) $('versions').textContent = '不在 Ostrelle 中运行';
  render();
  renderLibrary();
  renderPage();
  showUser('');
})();
