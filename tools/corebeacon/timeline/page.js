// Puts the page together: filters, tooltip, tables, theme.

const MOST_ROWS = 200;

function byId(id) {
  return document.getElementById(id);
}

// Texts of a run come from scripts and boards: they go in as text, never as markup.
function element(name, text, className) {
  const made = document.createElement(name);
  if (text !== undefined) made.textContent = text;
  if (className) made.className = className;
  return made;
}

// Long names may break behind an underscore or a slash.
function breakable(box, text) {
  for (const part of text.split(/(?<=[_/])/)) box.append(part, element('wbr'));
  return box;
}

function describe(hit, run) {
  if (hit.request) return {title: hit.request.label, facts: requestFacts(run, hit.request)};
  if (hit.marks) {
    return {title: hit.row.label,
            facts: hit.marks.slice(0, 8).map((mark) => [exactTimeText(mark.t), mark.text])
                .concat(hit.marks.length > 8 ? [['', `and ${hit.marks.length - 8} more`]] : [])};
  }
  if (hit.entry) {
    return {title: hit.row.label,
            facts: [['Ceiling', valueText(hit.entry.value, hit.row.history.unit)],
                    ['From', timeText(hit.entry.from)], ['Until', timeText(hit.entry.until)],
                    ['On the clock', clockText(hit.entry)]]};
  }
  return {title: hit.row.track.label, facts: trackFacts(run, hit.row.track, hit.t)};
}

class Tip {
  constructor(box) {
    this.box = box;
  }

  // `at` in window coordinates.
  show({title, facts}, at) {
    const list = element('dl');
    for (const [name, value] of facts) list.append(breakable(element('dt'), name), element('dd', value));
    this.box.replaceChildren(element('strong', title), list);
    this.box.hidden = false;
    const {offsetWidth: width, offsetHeight: height} = this.box;
    const x = at.x + 16 + width < window.innerWidth ? at.x + 16 : at.x - 16 - width;
    const y = Math.min(at.y + 14, window.innerHeight - height - 8);
    this.box.style.left = Math.max(8, x) + 'px';
    this.box.style.top = Math.max(8, y) + 'px';
  }

  hide() {
    this.box.hidden = true;
  }
}

// One list of checkboxes with its search and its buttons.
class FilterList {
  constructor(fieldset, entries, onChange) {
    this.items = entries.map(({value, text, count}) => {
      const box = element('input');
      box.type = 'checkbox';
      box.checked = true;
      box.addEventListener('change', onChange);
      const label = element('label');
      label.append(box, breakable(element('span'), text), element('small', count.toLocaleString('en')));
      const item = element('li');
      item.append(label);
      return {value, text, box, item};
    });
    fieldset.querySelector('ul').append(...this.items.map((each) => each.item));
    fieldset.querySelector('[type=search]').addEventListener('input', (event) => {
      const wanted = event.target.value.trim().toLowerCase();
      for (const each of this.items) each.item.hidden = !each.text.toLowerCase().includes(wanted);
    });
    for (const button of fieldset.querySelectorAll('[data-all]')) {
      button.addEventListener('click', () => {
        // Of a search, what it found.
        for (const each of this.items) {
          if (!each.item.hidden) each.box.checked = button.dataset.all === 'true';
        }
        onChange();
      });
    }
  }

  chosen() {
    return new Set(this.items.filter((each) => each.box.checked).map((each) => each.value));
  }
}

class Page {
  constructor(run) {
    this.run = run;
    this.tip = new Tip(byId('tip'));
    this.showHeading();
    this.showLimits();
    this.chart = new Chart(run, {canvas: byId('canvas'), scroll: byId('scroll'), spacer: byId('spacer')},
                           () => this.onView());
    this.makeFilters();
    this.listen();
    this.applyFilters();
    this.applyTheme();
  }

  showHeading() {
    const {run} = this;
    const writes = run.tracks.reduce((sum, track) => sum + track.writeCount, 0);
    document.title = run.title + ' - corebeacon timeline';
    byId('title').textContent = run.title;
    byId('summary').textContent = [run.device, 'begun ' + run.begin, spanText(run.end),
                                   countText(run.requests.length, 'request'),
                                   countText(writes, 'write'),
                                   countText(run.tracks.length, 'group')].join(' · ');
  }

  showLimits() {
    const [filled, empty] = [true, false].map(
        (isFilled) => this.run.limits.filter((history) => (history.entries.length > 0) === isFilled));
    byId('limits').replaceChildren(...filled.map((history) => {
      const card = element('div');
      card.append(element('h3', history.name), limitTable(history));
      return card;
    }));
    byId('no-limits').textContent = empty.length > 0
        ? 'No ceiling was in force: ' + empty.map((history) => history.name).join(', ') : '';
  }

  makeFilters() {
    const onChange = () => this.applyFilters();
    const {run} = this;
    this.qosFilter = new FilterList(byId('qos-filter'), run.qos.map((name) => {
      const writes = run.tracks.filter((track) => track.qos === name)
          .reduce((sum, track) => sum + track.writeCount, 0);
      return {value: name, text: name, count: writes};
    }), onChange);
    this.pidFilter = new FilterList(byId('pid-filter'), run.pids.map((pid) => {
      const count = run.requests.filter((request) => request.pid === pid).length;
      return {value: pid, text: String(pid), count};
    }), onChange);
  }

  applyFilters() {
    const filter = {qos: this.qosFilter.chosen(), pids: this.pidFilter.chosen()};
    this.chart.setRows(makeRows(this.run, filter));
  }

  listen() {
    byId('zoom-in').addEventListener('click', () => this.chart.zoom(0.5));
    byId('zoom-out').addEventListener('click', () => this.chart.zoom(2));
    byId('fit').addEventListener('click', () => this.chart.fit());
    byId('theme').addEventListener('click', () => this.switchTheme());
    byId('filters-button').addEventListener('click', (event) => {
      const isOpen = byId('filters').classList.toggle('open');
      event.currentTarget.setAttribute('aria-expanded', String(isOpen));
    });
    window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.applyTheme());
    window.addEventListener('scroll', () => this.tip.hide());
  }

  switchTheme() {
    document.documentElement.dataset.theme = this.chart.colours.isDark ? 'light' : 'dark';
    this.applyTheme();
  }

  applyTheme() {
    const colours = readColours();
    byId('theme').textContent = colours.isDark ? 'Light' : 'Dark';
    this.chart.setColours(colours);
  }

  // After each frame; the table, which nobody reads during a movement, somewhat later.
  onView() {
    this.showTip();
    this.describeChart();
    clearTimeout(this.tableTimer);
    this.tableTimer = setTimeout(() => this.showRequests(), 120);
  }

  // For those who do not see it.
  describeChart() {
    const {chart} = this;
    const groups = chart.layout.rows.filter((row) => row.kind === 'track').length;
    byId('canvas').setAttribute('aria-label', `Timeline of ${countText(chart.layout.shown.length, 'request')} and ` +
        `${countText(groups, 'group')}, from ${timeText(chart.from)} to ${timeText(chart.until)}`);
  }

  showTip() {
    const {chart} = this;
    const box = byId('canvas').getBoundingClientRect();
    if (chart.hover) {
      const hit = chart.hit();
      if (hit) this.tip.show(describe(hit, this.run), {x: box.left + chart.hover.x, y: box.top + chart.hover.y});
      else this.tip.hide();
    } else if (chart.marked && !chart.drag) {
      this.showTipOfMarked(box);
    } else {
      this.tip.hide();
      byId('live').textContent = '';
    }
  }

  showTipOfMarked(box) {
    const {marked} = this.chart;
    const view = this.chart.view();
    const description = describe({request: marked}, this.run);
    const row = this.chart.rowOf(marked);
    const x = Math.min(view.right - 20, Math.max(view.left, view.xOf(marked.from)));
    this.tip.show(description, {x: box.left + x, y: box.top + row.y + row.height - view.scroll});
    const spoken = description.title + ': ' + description.facts.map((fact) => fact.join(' ')).join(', ');
    if (byId('live').textContent !== spoken) byId('live').textContent = spoken;
  }

  showRequests() {
    const {chart} = this;
    const inView = chart.layout.shown.filter(
        (request) => request.until >= chart.from && request.from <= chart.until);
    const rows = inView.slice(0, MOST_ROWS).map((request) => this.requestRow(request));
    byId('requests').tBodies[0].replaceChildren(...rows);
    byId('requests-more').textContent = inView.length > MOST_ROWS
        ? `and ${(inView.length - MOST_ROWS).toLocaleString('en')} more: zoom in, or filter, to see them`
        : inView.length === 0 ? 'None.' : '';
  }

  requestRow(request) {
    const row = element('tr');
    const name = element('button', request.label);
    name.type = 'button';
    name.setAttribute('aria-label', 'Zoom to ' + request.label);
    const first = element('td');
    first.append(name);
    const asked = request.parts.slice(0, 4).map((part) => partText(this.run, part));
    if (request.parts.length > 4) asked.push(`and ${request.parts.length - 4} more`);
    row.append(first, element('td', String(request.pid)), element('td', request.handle),
               element('td', asked.join(', ')), element('td', exactTimeText(request.from), 'number'),
               element('td', exactTimeText(request.until), 'number'),
               element('td', request.ending, 'ending'));
    row.addEventListener('click', () => this.chart.zoomTo(request));
    return row;
  }
}

// The engine's own times, without the day and with leading zeros: "9:50:7.39" is 39 ms past.
function clockText(entry) {
  const time = (text) => {
    const [hours, minutes, seconds, millis] = text.split(' ').pop().split(/[:.]/);
    return `${hours}:${minutes.padStart(2, '0')}:${seconds.padStart(2, '0')}.${millis.padStart(3, '0')}`;
  };
  return time(entry.fromText) + ' to ' + (entry.untilText ? time(entry.untilText) : 'the next');
}

function limitTable(history) {
  const table = element('table');
  const head = element('tr');
  for (const [text, className] of [['Ceiling', 'number'], ['From', 'number'], ['Until', 'number'], ['On the clock']]) {
    const cell = element('th', text, className);
    cell.scope = 'col';
    head.append(cell);
  }
  const body = history.entries.map((entry) => {
    const row = element('tr');
    row.append(element('td', valueText(entry.value, history.unit), 'number'),
               element('td', timeText(entry.from), 'number'), element('td', timeText(entry.until), 'number'),
               element('td', clockText(entry), 'clock'));
    return row;
  });
  table.createTHead().append(head);
  table.createTBody().append(...body);
  return table;
}

const page = new Page(loadRun(JSON.parse(byId('data').textContent)));
