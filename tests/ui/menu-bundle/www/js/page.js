// The menu and media-key page: reports clicks, menu requests and the shell's calls as "PROBE <tag> <JSON>".
(function () {
  'use strict';
  const ascii = (s) => s.replace(/[^\x20-\x7e]/g, (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
  const report = (tag, value) => console.log(`PROBE ${tag} ${ascii(JSON.stringify(value))}`);

  const songs = [
    {songId: 1, songName: '晴天', albumName: '叶惠美', artistName: '周杰伦', source: 'list'},
    {songId: 2, songName: '后来', albumName: '我的失败与伟大', artistName: '刘若英', source: 'fav'},
    {songId: '3', songName: '平凡之路', albumName: '猎户星座', artistName: '朴树', source: 'itunes'},
  ];
  const lists = [{listId: 7, name: 'A'}, {listId: 9, name: 'B'}];

  let callsDuringMenu = null;
  const shellFunctions = ['loveSong', 'deloveSong', 'addSongToITunes', 'removeSongFromITunes', 'addSongToDiyList',
                          'createDiyList', 'removeDiyList', 'renameDiyList', 'tooglePlayPause', 'forward', 'backward'];
  for (const name of shellFunctions) {
    window[name] = function () {
      const args = Array.from(arguments), text = `${name}(${args.map((a) => JSON.stringify(a)).join(', ')})`;
      const call = {name, args, text, t: performance.timeOrigin + performance.now()};
      if (callsDuringMenu) callsDuringMenu.push(name);
      report('called', call);
    };
  }

  const exec = (method, argument) => zelPlugin.exec('m', 'cordovaMenu', method, JSON.stringify([argument]));

  document.addEventListener('click', (e) => report('click', {x: e.clientX, y: e.clientY}));
  document.addEventListener('contextmenu', (e) => {
    e.preventDefault();
    const row = e.target.closest('.row');
    if (!row) return;
    const kind = row.dataset.kind;
    const index = Number(row.dataset.index);
    report('menuOpening', {kind, index, x: e.clientX, y: e.clientY});
    callsDuringMenu = [];
    if (kind === 'song') {
      exec('showSongMenu', {x: e.clientX, y: e.clientY, song: songs[index]});
    } else if (kind === 'bad') {
      // A click point that is no place in the view, and a song that is no record.
      exec('showSongMenu', {x: 99999, y: '-5000', song: 'not a song'});
    } else {
      exec('showDiyListMenu', {x: e.clientX, y: e.clientY, list: lists[index]});
    }
    report('menuClosed', {kind, calls: callsDuringMenu});
    callsDuringMenu = null;
  });

  exec('updateSongMenuDiyListData', lists);
  report('ready', {});
})();
