// SPDX-License-Identifier: GPL-3.0-or-later
//
// The player of a published lecture: media.qv with the slides of project.qvp. Both are read as they lie beside this page,
// so the page is right after every save. Whatever the document holds is a stranger's text: it becomes text, never markup.
'use strict';

(() => {
  const TEXTS = {
    en: {
      lecture: 'Recorded lecture', slides: 'Slides', slide: 'Slide %s', page: 'Web page', speed: 'Speed',
      previous: 'Previous slide', next: 'Next slide', full: 'Full screen', back: 'Back to the film',
      download: 'Download the film', keys: 'Keys', keySpace: 'Space', play: 'Play, pause', jump: '5 seconds back, ahead',
      pages: 'Previous, next slide', rate: 'Slower, faster', rates: 'Normal, double speed', mute: 'Sound off, on',
      goesOn: 'Goes on at %s, where you left.', restart: 'From the beginning', noSlides: 'This lecture has no slides.',
      whole: 'To jump within the film, this page has to load it whole: %s',
      unplayable: 'This browser cannot play the film. Try another browser, or download the film and open it with a media player.',
      lost: 'The list of slides, project.qvp, could not be loaded (%s).', unread: '%s is not the document of a lecture.',
      disk: 'The film plays, but browsers do not let a page on a disk read the list of its slides. Choose the file project.qvp from the folder of this page; or open a terminal in that folder, run the following command, and open http://localhost:8000 here.',
      choose: 'Choose project.qvp', refused: 'This page lies outside of the lecture and is not shown.',
    },
    de: {
      lecture: 'Aufgezeichnete Vorlesung', slides: 'Folien', slide: 'Folie %s', page: 'Webseite', speed: 'Tempo',
      previous: 'Vorige Folie', next: 'Nächste Folie', full: 'Vollbild', back: 'Zurück zum Film',
      download: 'Film herunterladen', keys: 'Tasten', keySpace: 'Leertaste', play: 'Abspielen, anhalten', jump: '5 Sekunden zurück, vor',
      pages: 'Vorige, nächste Folie', rate: 'Langsamer, schneller', rates: 'Normales, doppeltes Tempo', mute: 'Ton aus, an',
      goesOn: 'Weiter bei %s, wo Sie aufgehört haben.', restart: 'Von vorn', noSlides: 'Diese Vorlesung hat keine Folien.',
      whole: 'Um im Film zu springen, muss diese Seite ihn ganz laden: %s',
      unplayable: 'Dieser Browser kann den Film nicht abspielen. Versuchen Sie einen anderen, oder laden Sie den Film herunter und öffnen Sie ihn mit einem Medienspieler.',
      lost: 'Die Liste der Folien, project.qvp, konnte nicht geladen werden (%s).', unread: '%s ist kein Dokument einer Vorlesung.',
      disk: 'Der Film läuft, aber Browser lassen eine Seite auf der Festplatte die Liste ihrer Folien nicht lesen. Wählen Sie die Datei project.qvp aus dem Ordner dieser Seite; oder öffnen Sie in dem Ordner ein Terminal, starten Sie den folgenden Befehl und öffnen Sie hier http://localhost:8000.',
      choose: 'project.qvp wählen', refused: 'Diese Seite liegt außerhalb der Vorlesung und wird nicht gezeigt.',
    },
    'zh-Hans': {
      lecture: '录制的课程', slides: '幻灯片', slide: '幻灯片 %s', page: '网页', speed: '速度',
      previous: '上一张', next: '下一张', full: '全屏', back: '返回影片',
      download: '下载影片', keys: '按键', keySpace: '空格键', play: '播放、暂停', jump: '后退、前进 5 秒',
      pages: '上一张、下一张幻灯片', rate: '减速、加速', rates: '正常速度、两倍速度', mute: '关闭、打开声音',
      goesOn: '从上次离开的 %s 继续。', restart: '从头开始', noSlides: '本课程没有幻灯片。',
      whole: '要在影片中跳转，本页必须先加载整部影片：%s',
      unplayable: '此浏览器无法播放影片。请换用其他浏览器，或下载影片后用媒体播放器打开。',
      lost: '无法加载幻灯片列表 project.qvp（%s）。', unread: '%s 不是课程文档。',
      disk: '影片可以播放，但浏览器不允许磁盘上的网页读取幻灯片列表。请从本页所在的文件夹中选择 project.qvp；或在该文件夹中打开终端，运行以下命令，再在此打开 http://localhost:8000。',
      choose: '选择 project.qvp', refused: '此网页不在课程文件夹内，因此不显示。',
    },
    'zh-Hant': {
      lecture: '錄製的課程', slides: '投影片', slide: '投影片 %s', page: '網頁', speed: '速度',
      previous: '上一張', next: '下一張', full: '全螢幕', back: '返回影片',
      download: '下載影片', keys: '按鍵', keySpace: '空白鍵', play: '播放、暫停', jump: '後退、前進 5 秒',
      pages: '上一張、下一張投影片', rate: '減速、加速', rates: '正常速度、兩倍速度', mute: '關閉、開啟聲音',
      goesOn: '從上次離開的 %s 繼續。', restart: '從頭開始', noSlides: '本課程沒有投影片。',
      whole: '要在影片中跳轉，本頁必須先載入整部影片：%s',
      unplayable: '此瀏覽器無法播放影片。請換用其他瀏覽器，或下載影片後以媒體播放器開啟。',
      lost: '無法載入投影片清單 project.qvp（%s）。', unread: '%s 不是課程文件。',
      disk: '影片可以播放，但瀏覽器不允許磁碟上的網頁讀取投影片清單。請從本頁所在的資料夾中選擇 project.qvp；或在該資料夾中開啟終端機，執行以下指令，再於此開啟 http://localhost:8000。',
      choose: '選擇 project.qvp', refused: '此網頁不在課程資料夾內，因此不顯示。',
    },
  };
  const RATES = [0.5, 0.75, 1, 1.25, 1.5, 1.75, 2];
  const STEP = 5;               // seconds
  const WORTH_GOING_ON = 10;    // seconds from either end of the film

  const byId = id => document.getElementById(id);
  const film = byId('film');
  const isOnDisk = location.protocol === 'file:';

  // ---- Words

  function languageOf(tags) {
    for (const tag of tags) {
      if (/^zh\b.*\b(hant|tw|hk|mo)\b/i.test(tag)) return 'zh-Hant';
      if (/^zh\b/i.test(tag)) return 'zh-Hans';
      const plain = tag.slice(0, 2).toLowerCase();
      if (plain in TEXTS) return plain;
    }
    return 'en';
  }

  const language = languageOf(navigator.languages || []);
  const say = (name, filling) => TEXTS[language][name].replace('%s', () => filling);

  function clock(ms) {
    const seconds = Math.floor(ms / 1000);
    const two = number => String(number).padStart(2, '0');
    const minutes = Math.floor(seconds / 60) % 60;
    const hours = Math.floor(seconds / 3600);
    return hours > 0 ? `${hours}:${two(minutes)}:${two(seconds % 60)}` : `${minutes}:${two(seconds % 60)}`;
  }

  function element(name, properties, ...children) {
    const made = Object.assign(document.createElement(name), properties);
    made.append(...children);
    return made;
  }

  function tell(text, button) {
    const shown = text ? [element('p', {}, element('span', { textContent: text }), ...(button ? [button] : []))] : [];
    byId('notice').replaceChildren(...shown);
  }

  function showWords() {
    document.documentElement.lang = language;
    document.title = say('lecture');
    for (const node of document.querySelectorAll('[data-text]')) node.textContent = say(node.dataset.text);
    for (const node of document.querySelectorAll('[data-label]')) {
      node.setAttribute('aria-label', say(node.dataset.label));
      node.title = say(node.dataset.label);
    }
    const keys = [[[say('keySpace')], 'play'], [['←', '→'], 'jump'], [['PgUp', 'PgDn'], 'pages'], [['<', '>'], 'rate'],
      [['1', '2'], 'rates'], [['M'], 'mute'], [['F'], 'full']];
    for (const [names, does] of keys) {
      const caps = names.flatMap(name => [element('kbd', { textContent: name }), ' ']);
      byId('keys').append(element('dt', {}, ...caps), element('dd', { textContent: say(does) }));
    }
    for (const node of document.querySelectorAll('.scripted')) node.hidden = false;
  }

  // ---- What is remembered of this lecture. A browser may refuse to.

  const memory = {
    key: `lecture:${location.pathname.replace(/[^/]*$/, '')}`,
    read() {
      try {
        return JSON.parse(localStorage.getItem(this.key)) || {};
      } catch {
        return {};
      }
    },
    write(change) {
      try {
        localStorage.setItem(this.key, JSON.stringify({ ...this.read(), ...change }));
      } catch { /* then the next visit begins anew */ }
    },
  };

  // ---- The document

  function textOf(parent, name) {
    const node = parent && parent.querySelector(`:scope > ${name}`);
    return node ? node.textContent.trim() : '';
  }

  /** @returns a row of the list, or null for one that has neither a place in the film nor a page */
  function rowOf(item, index) {
    const ms = Number.parseInt(textOf(item, 'pos'), 10);
    const url = textOf(item, 'url');
    if (!(ms >= 0) && !url) return null;
    return { title: textOf(item, 'title') || say('slide', index + 1), ms: ms >= 0 ? ms : null, url: ms >= 0 ? '' : url };
  }

  /** Throws when the text is not a project's document. */
  function parse(xml) {
    const root = new DOMParser().parseFromString(xml, 'application/xml').documentElement;
    const index = root.querySelector(':scope > project > index');
    if (!index) throw new Error(say('unread', 'project.qvp'));
    const abstract = root.querySelector(':scope > project > abstract');
    return {
      title: textOf(abstract, 'title'),
      author: [textOf(abstract, 'author'), textOf(abstract, 'company')].filter(Boolean).join(' · '),
      comments: textOf(abstract, 'comments'),
      rows: [...index.children].map(rowOf).filter(Boolean),
    };
  }

  /** Older documents may be in another encoding than UTF-8; the XML declaration tells. */
  function decode(bytes) {
    const head = new TextDecoder('latin1').decode(bytes.slice(0, 200));
    const told = /^<\?xml[^>]*\bencoding=["']([\w.:-]+)["']/.exec(head);
    return new TextDecoder(told ? told[1] : 'utf-8').decode(bytes);
  }

  async function fetchDocument() {
    const answer = await fetch('project.qvp', { cache: 'no-cache' }).catch(error => ({ status: error.message }));
    if (!answer.ok) throw new Error(say('lost', answer.status));
    return parse(decode(await answer.arrayBuffer()));
  }

  // ---- The film

  /** Changes with the film, so that no browser plays an old one from its store behind a new document. */
  let version = '';

  async function findVersion() {
    const head = await fetch('media.qv', { method: 'HEAD', cache: 'no-store' }).catch(() => null);
    if (!head || !head.ok) return;
    const marks = ['ETag', 'Last-Modified', 'Content-Length'].map(name => head.headers.get(name)).join();
    let sum = 0;
    for (const char of marks) sum = (Math.imul(sum, 31) + char.charCodeAt(0)) >>> 0;
    version = `?${sum.toString(36)}`;
  }

  /** Resolves once the film's length and pictures are known. */
  function filmReady() {
    if (film.readyState >= HTMLMediaElement.HAVE_METADATA) return Promise.resolve();
    return new Promise(done => film.addEventListener('loadedmetadata', done, { once: true }));
  }

  function openFilm(address) {
    film.src = address;
    film.preload = 'metadata';
  }

  /** A server that knows no ranges lets a browser only go where the film has been loaded. */
  function canGoTo(seconds) {
    for (let i = 0; i < film.seekable.length; ++i)
      if (film.seekable.start(i) <= seconds && seconds <= film.seekable.end(i)) return true;
    return seconds >= film.duration;
  }

  async function download() {
    const answer = await fetch(`media.qv${version}`);
    if (!answer.ok) throw new Error(answer.status);
    const size = Number(answer.headers.get('Content-Length'));
    const reader = answer.body.getReader();
    const parts = [];
    let done = 0;
    for (let part = await reader.read(); !part.done; part = await reader.read()) {
      parts.push(part.value);
      done += part.value.length;
      tell(say('whole', size ? `${Math.floor(100 * done / size)} %` : `${(done / 1e6).toFixed(1)} MB`));
    }
    return new Blob(parts, { type: 'video/webm' });
  }

  /** Plays on from the browser's memory, where every place can be gone to and no server tells the film's kind. */
  async function loadWhole() {
    const wasPlaying = !film.paused;
    const place = film.currentTime;
    tell(say('whole', '0 %'));
    openFilm(URL.createObjectURL(await download()));
    await filmReady();
    film.currentTime = place;
    tell('');
    if (wasPlaying) film.play();
  }

  let whole = null;
  let wanted = 0;

  /** To the picture that is shown at a time in ms: half a millisecond behind it, where no rounding shows the one ahead. */
  async function seek(ms) {
    wanted = ms;
    await filmReady();
    if (whole || !canGoTo(ms / 1000)) await (whole = whole || loadWhole());
    film.currentTime = (wanted + 0.5) / 1000;
  }

  async function onFilmError() {
    if (whole || isOnDisk) return tell(say('unplayable'));
    try {
      await (whole = loadWhole());
    } catch {
      tell(say('unplayable'));
    }
  }

  // ---- The list

  let rows = [];
  let shownPage = -1;     // the row whose web page stands in the film's place

  function currentRow() {
    if (shownPage >= 0) return shownPage;
    const now = Math.round(film.currentTime * 1000);
    return rows.reduce((found, row, i) => (row.ms !== null && row.ms <= now ? i : found), -1);
  }

  function scrollTo(link) {
    const list = byId('slides');
    if (list.scrollHeight <= list.clientHeight) return;
    const box = link.getBoundingClientRect();
    const frame = list.getBoundingClientRect();
    if (box.top < frame.top) list.scrollTop -= frame.top - box.top;
    if (box.bottom > frame.bottom) list.scrollTop += box.bottom - frame.bottom;
  }

  let marked = -2;

  function mark() {
    const row = currentRow();
    if (row === marked) return;
    marked = row;
    const links = byId('list').querySelectorAll('a');
    links.forEach((link, i) => (i === row ? link.setAttribute('aria-current', 'true') : link.removeAttribute('aria-current')));
    byId('now').textContent = row < 0 ? '' : rows[row].title;
    byId('previous').disabled = row <= 0;
    byId('next').disabled = row + 1 >= rows.length;
    if (row >= 0) scrollTo(links[row]);
  }

  /** A url of the document is the path of a file in the lecture's folder. @returns '' when it leads out of there */
  function pageAddress(url) {
    const parts = url.replace(/\\/g, '/').split('/');
    return parts.some(part => part === '' || part === '.' || part === '..') ? '' : parts.map(encodeURIComponent).join('/');
  }

  function pictureOf(row) {
    const name = row.url ? encodeURIComponent(row.url.split('/')[0]) : row.ms;
    const picture = element('img', { alt: '', loading: 'lazy', decoding: 'async' });
    picture.addEventListener('error', () => (picture.hidden = true));
    picture.src = `thumbnails/${name}.jpg${version}`;
    const when = element('span', { className: 'when', textContent: row.url ? say('page') : clock(row.ms) });
    return element('span', { className: 'picture' }, picture, when);
  }

  function linkOf(row, i) {
    const number = element('span', { className: 'number', textContent: `${i + 1} ` });
    const name = element('span', { className: 'name', dir: 'auto', textContent: row.title });
    const link = element('a', { href: `#slide=${i + 1}` }, pictureOf(row), element('span', {}, number, name));
    link.addEventListener('click', event => {
      if (event.ctrlKey || event.metaKey || event.shiftKey) return;
      event.preventDefault();
      goToRow(i);
    });
    return element('li', {}, link);
  }

  function showDocument(project) {
    rows = project.rows;
    if (project.title) byId('title').textContent = document.title = project.title;
    for (const name of ['author', 'comments']) {
      byId(name).textContent = project[name];
      byId(name).hidden = !project[name];
    }
    byId('list').replaceChildren(...rows.map(linkOf));
    byId('missing').hidden = rows.length > 0;
    byId('choose').hidden = true;
    byId('command').hidden = true;
    byId('why').textContent = say('noSlides');
    marked = -2;
    mark();
  }

  function tellMissing(reason) {
    byId('missing').hidden = false;
    byId('choose').hidden = !isOnDisk;
    byId('command').hidden = !isOnDisk;
    byId('why').textContent = reason;
    mark();
  }

  // ---- Going somewhere

  let playsOn = false;    // behind a web page

  function showPage(row) {
    const address = pageAddress(rows[row].url);
    if (!address) return tell(say('refused'));
    if (shownPage < 0) playsOn = !film.paused;
    film.pause();
    removePage();
    const frame = element('iframe', { title: rows[row].title, referrerPolicy: 'no-referrer' });
    frame.setAttribute('sandbox', 'allow-scripts');
    frame.src = address;
    byId('stage').append(frame);
    showControlsOf(row);
  }

  /** @param row of the page that stands in the film's place, or -1 for the film */
  function showControlsOf(row) {
    shownPage = row;
    film.hidden = byId('speedLabel').hidden = row >= 0;
    byId('back').hidden = byId('full').hidden = row < 0;
    mark();
  }

  function removePage() {
    for (const frame of byId('stage').querySelectorAll('iframe')) frame.remove();
  }

  function showFilm() {
    if (shownPage < 0) return;
    removePage();
    showControlsOf(-1);
    if (playsOn) film.play();
  }

  function goToRow(row) {
    if (!rows[row]) return;
    if (rows[row].url) return showPage(row);
    showFilm();
    seek(rows[row].ms).catch(() => tell(say('unplayable')));
  }

  function goToTime(seconds) {
    showFilm();
    seek(Math.max(0, Math.min(seconds, film.duration || seconds)) * 1000).catch(() => tell(say('unplayable')));
  }

  /** "#t=12.5" is a time, "#slide=3" a row of the list. @returns whether the address told one of them */
  function goToTarget() {
    const told = /^#(t|slide)=(\d+(?:\.\d+)?)$/.exec(location.hash);
    if (!told) return false;
    if (told[1] === 't') goToTime(Number(told[2]));
    else goToRow(Number(told[2]) - 1);
    return true;
  }

  async function goOn() {
    const { place } = memory.read();
    if (!place) return;
    await filmReady();
    if (place < WORTH_GOING_ON || place > film.duration - WORTH_GOING_ON || !canGoTo(place) || film.currentTime > 0) return;
    film.currentTime = place;
    const restart = element('button', { type: 'button', textContent: say('restart') });
    restart.addEventListener('click', () => {
      goToTime(0);
      tell('');
    });
    tell(say('goesOn', clock(place * 1000)), restart);
  }

  // ---- Speed, sound, keys

  function setRate(rate) {
    film.defaultPlaybackRate = film.playbackRate = rate;
    memory.write({ rate });
  }

  function stepRate(steps) {
    const at = RATES.findIndex(rate => rate >= film.playbackRate);
    setRate(RATES[Math.max(0, Math.min(RATES.length - 1, (at < 0 ? RATES.length - 1 : at) + steps))]);
  }

  function setUpSpeed() {
    const rate = memory.read().rate;
    const format = new Intl.NumberFormat(language);
    for (const each of RATES) byId('speed').append(element('option', { value: each, textContent: `${format.format(each)} ×` }));
    byId('speed').addEventListener('change', () => setRate(Number(byId('speed').value)));
    film.addEventListener('ratechange', () => (byId('speed').value = film.playbackRate));
    film.defaultPlaybackRate = film.playbackRate = RATES.includes(rate) ? rate : 1;
    byId('speed').value = film.playbackRate;
  }

  function togglePlay() {
    if (shownPage >= 0) {
      playsOn = true;
      showFilm();
    } else if (film.paused) film.play();
    else film.pause();
  }

  function toggleFull() {
    if (document.fullscreenElement) document.exitFullscreen();
    else if (byId('stage').requestFullscreen) byId('stage').requestFullscreen();
    else if (film.webkitEnterFullscreen) film.webkitEnterFullscreen();
  }

  const KEYS = {
    ' ': togglePlay,
    ArrowLeft: () => goToTime(film.currentTime - STEP),
    ArrowRight: () => goToTime(film.currentTime + STEP),
    PageUp: () => goToRow(currentRow() - 1),
    PageDown: () => goToRow(currentRow() + 1),
    '<': () => stepRate(-1),
    '>': () => stepRate(1),
    1: () => setRate(1),
    2: () => setRate(2),
    m: () => (film.muted = !film.muted),
    f: toggleFull,
  };

  function onKey(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    const isField = event.target.closest('input, select');
    const isPressed = key === ' ' && event.target.closest('button, summary');
    if (isField || isPressed || !Object.prototype.hasOwnProperty.call(KEYS, key)) return;
    event.preventDefault();
    event.stopPropagation();
    KEYS[key]();
  }

  function keepPlace() {
    if (film.currentTime > 0) memory.write({ place: film.ended ? 0 : film.currentTime });
  }

  function listen() {
    document.addEventListener('keydown', onKey, true);
    window.addEventListener('hashchange', goToTarget);
    window.addEventListener('pagehide', keepPlace);
    for (const name of ['pause', 'seeked']) film.addEventListener(name, keepPlace);
    for (const name of ['timeupdate', 'seeking', 'seeked', 'loadedmetadata']) film.addEventListener(name, mark);
    film.addEventListener('error', onFilmError);
    const clicks = { previous: KEYS.PageUp, next: KEYS.PageDown, back: showFilm, full: toggleFull };
    for (const [id, does] of Object.entries(clicks)) byId(id).addEventListener('click', does);
    byId('chosen').addEventListener('change', readChosen);
  }

  // ---- The beginning

  async function readChosen() {
    const [file] = byId('chosen').files;
    if (!file) return;
    try {
      showDocument(parse(decode(await file.arrayBuffer())));
      goToTarget();
    } catch {
      byId('why').textContent = say('unread', file.name);
    }
  }

  async function start() {
    showWords();
    setUpSpeed();
    listen();
    if (!isOnDisk) await findVersion();
    openFilm(`media.qv${version}`);
    if (isOnDisk) tellMissing(say('disk'));
    else await fetchDocument().then(showDocument, error => tellMissing(error.message));
    if (!goToTarget()) goOn();
  }

  start();
})();
