// What the page shows: the run as it was recorded, and the rows that the filters leave of it.

// Of requests, by pid; none looks like a floor or a ceiling.
const HUES = [150, 330, 190, 55, 95, 0, 240, 300];

const ROW_HEIGHT = {axis: 26, marks: 22, title: 24, lane: 22, frequency: 66, value: 40, limit: 26};
const ROW_GAP = 6;
const MOST_PARTS_IN_SLICE = 3;
const MOST_PARTS_IN_TIP = 12;

function loadRun(run) {
  run.tracks.forEach((track, index) => {
    track.index = index;
    track.label = track.name === track.qos ? track.qos : track.qos + ' · ' + track.name;
    track.requests = [];
    track.writeCount = track.nodes.reduce((sum, node) => sum + node.t.length, 0);
    for (const node of track.nodes) {
      node.numbers = node.values.map((text) => /^-?\d+$/.test(text) ? Number(text) : NaN);
      node.isNumeric = node.numbers.length > 0 && !node.numbers.some(Number.isNaN);
    }
    [track.low, track.high] = rangeOf(track);
  });
  run.pids = [...new Set(run.requests.map((request) => request.pid))].sort((a, b) => a - b);
  run.requests.forEach((request, index) => {
    request.index = index;
    request.hue = HUES[run.pids.indexOf(request.pid) % HUES.length];
    request.label = request.name || request.kind;
    request.shortText = shortTextOf(run, request);
    for (const part of request.parts) run.tracks[part.track].requests.push(request);
  });
  run.qos = [...new Set(run.tracks.map((track) => track.qos))];
  return run;
}

function shortTextOf(run, request) {
  const asked = request.parts.slice(0, MOST_PARTS_IN_SLICE).map((part) => {
    const track = run.tracks[part.track];
    return track.label + (part.operation === 'limit' ? ' ≤ ' : ' ≥ ') + valueText(part.value, track.unit);
  });
  const isMany = request.parts.length > MOST_PARTS_IN_SLICE;
  const kind = request.kind !== 'request' && request.kind !== request.label ? ` (${request.kind})` : '';
  return request.label + kind +
      (isMany ? `  ${request.parts.length} values` : asked.map((text) => '  ' + text).join(''));
}

// The values between which a track is drawn.
function rangeOf(track) {
  let low = Infinity;
  let high = -Infinity;
  const take = (value) => {
    if (!Number.isFinite(value)) return;
    low = Math.min(low, value);
    high = Math.max(high, value);
  };
  track.steps.floor.forEach(take);
  track.steps.ceiling.forEach(take);
  for (const node of track.nodes) {
    if (track.isRange) node.numbers.forEach(take);
  }
  return low <= high ? [low, high] : [0, 0];
}

// Requests one below the other where they overlap, in the fewest lanes.
function lanesOf(requests) {
  const lanes = [];
  for (const request of [...requests].sort((a, b) => a.from - b.from)) {
    let lane = lanes.find((each) => each.end <= request.from);
    if (!lane) lanes.push(lane = {requests: [], starts: [], end: 0});
    lane.requests.push(request);
    lane.starts.push(request.from);
    lane.end = request.until;
  }
  return lanes;
}

function isRequestShown(run, request, filter) {
  return filter.pids.has(request.pid) &&
      (request.parts.length === 0 ||
       request.parts.some((part) => filter.qos.has(run.tracks[part.track].qos)));
}

// The rows from top to bottom. The axis is no row: it stays above them.
function makeRows(run, filter) {
  const rows = [];
  let y = ROW_HEIGHT.axis + ROW_GAP;
  const add = (row, height, gap) => {
    rows.push(Object.assign(row, {y, height}));
    y += height + gap;
  };
  for (const kind of ['note', 'statement']) {
    const marks = run.marks.filter((mark) => mark.kind === kind);
    if (marks.length > 0) {
      add({kind: 'marks', marks, times: marks.map((mark) => mark.t),
           label: kind === 'note' ? 'Story' : 'Statements'}, ROW_HEIGHT.marks, ROW_GAP);
    }
  }
  const shown = run.requests.filter((request) => isRequestShown(run, request, filter));
  for (const pid of run.pids) {
    lanesOf(shown.filter((request) => request.pid === pid)).forEach((lane, index) => {
      add({kind: 'lane', lane, label: index === 0 ? 'pid ' + pid : ''}, ROW_HEIGHT.lane, 2);
    });
    y += ROW_GAP;
  }
  for (const track of run.tracks) {
    if (filter.qos.has(track.qos)) {
      add({kind: 'track', track, label: track.label},
          track.isRange ? ROW_HEIGHT.frequency : ROW_HEIGHT.value, ROW_GAP);
    }
  }
  const limits = run.limits.filter((each) => filter.qos.has(each.name) && each.entries.length > 0);
  for (const history of limits) {
    add({kind: 'limit', history, label: history.name + ' limit history'}, ROW_HEIGHT.limit, ROW_GAP);
  }
  return {rows, height: y + ROW_GAP, shown};
}

// The part of `times` that a view needs: one before its left edge to one after its right edge.
function visibleRange(times, from, until) {
  return [Math.max(0, upperBound(times, from) - 1), Math.min(times.length, upperBound(times, until) + 1)];
}

function partText(run, part) {
  const track = run.tracks[part.track];
  return track.label + ' ' + part.operation + ' ' + valueText(part.value, track.unit);
}

// What a request is, in pairs of name and value.
function requestFacts(run, request) {
  const facts = [['Kind', request.kind], ['pid', String(request.pid)], ['Handle', request.handle]];
  const asked = request.parts.slice(0, MOST_PARTS_IN_TIP).map((part) => partText(run, part));
  if (request.parts.length > MOST_PARTS_IN_TIP) {
    asked.push(`and ${request.parts.length - MOST_PARTS_IN_TIP} more`);
  }
  if (asked.length > 0) facts.push(['Asks for', asked.join('\n')]);
  facts.push(['From', exactTimeText(request.from)]);
  facts.push(['Until', exactTimeText(request.until)], ['For', spanText(request.until - request.from)]);
  facts.push(['Ended', request.ending]);
  return facts;
}

// What stood at a time: what the track was to be, what its nodes had been told, who asked.
function trackFacts(run, track, t) {
  const facts = [['At', exactTimeText(t)]];
  const step = upperBound(track.steps.t, t) - 1;
  if (step >= 0) {
    facts.push(['Floor', valueText(track.steps.floor[step], track.unit)],
               ['Ceiling', valueText(track.steps.ceiling[step], track.unit)]);
  }
  for (const node of track.nodes) {
    const write = upperBound(node.t, t) - 1;
    if (write >= 0) {
      const failure = node.failures[write];
      facts.push([node.name, writtenText(node.values[write], track) + ', at ' + exactTimeText(node.t[write]) + (failure ? '\nfailed: ' + failure : '')]);
    }
  }
  const asking = track.requests.filter((request) => request.from <= t && t < request.until);
  const named = asking.slice(0, 6).map((request) => request.label + ' (pid ' + request.pid + '): ' +
      request.parts.filter((part) => part.track === track.index)
          .map((part) => part.operation + ' ' + valueText(part.value, track.unit)).join(', '));
  if (asking.length > 6) named.push('and ' + (asking.length - 6) + ' more');
  facts.push(['Requests', named.join('\n') || 'none']);
  return facts;
}
