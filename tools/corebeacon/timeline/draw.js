// Draws the rows in view on the canvas. Only what is visible is drawn, and where many events share a
// pixel column, one stroke stands for them: a frame costs what the window is wide, not what the run
// is long.

const FONT = '12px system-ui, "DejaVu Sans", sans-serif';
const SMALL_FONT = '11px system-ui, "DejaVu Sans", sans-serif';
const BOLD_FONT = '600 12px system-ui, "DejaVu Sans", sans-serif';

const COLOUR_NAMES = ['surface', 'raised', 'text', 'muted', 'edge', 'grid', 'accent', 'floor', 'ceiling',
                      'band', 'written', 'failed', 'asked', 'limit', 'hover'];

// The theme's colours as the canvas takes them.
function readColours() {
  const probe = document.body.appendChild(document.createElement('i'));
  const colours = {};
  for (const name of COLOUR_NAMES) {
    probe.style.color = `var(--${name})`;
    colours[name] = getComputedStyle(probe).color;
  }
  const [red] = colours.text.match(/\d+/g).map(Number);
  colours.isDark = red > 128;
  probe.remove();
  return colours;
}

function sliceColours(hue, isDark) {
  return isDark ? {fill: `hsl(${hue} 35% 27%)`, edge: `hsl(${hue} 65% 62%)`}
                : {fill: `hsl(${hue} 70% 89%)`, edge: `hsl(${hue} 60% 45%)`};
}

// Measuring costs more than drawing, and the same texts come again with each frame.
const textWidths = new Map();
function widthOf(ctx, text) {
  const key = ctx.font + text;
  let width = textWidths.get(key);
  if (width === undefined) {
    width = ctx.measureText(text).width;
    if (textWidths.size > 20000) textWidths.clear();
    textWidths.set(key, width);
  }
  return width;
}

// `text` cut so that it is no wider than `width`; '' when not even a few letters fit.
function fitted(ctx, text, width) {
  if (width < 16 || !text) return '';
  const whole = widthOf(ctx, text);
  if (whole <= width) return text;
  let letters = Math.floor((text.length * width) / whole);
  while (letters >= 3 && widthOf(ctx, text.slice(0, letters) + '…') > width) --letters;
  return letters < 3 ? '' : text.slice(0, letters).trimEnd() + '…';
}

// `text` in up to `most` lines, broken behind an underscore where it can be.
function wrapped(ctx, text, width, most) {
  const lines = [''];
  for (const word of text.split(/(?<=[_ ])/)) {
    const line = lines[lines.length - 1];
    if (line && lines.length < most && widthOf(ctx, line + word) > width) lines.push(word);
    else lines[lines.length - 1] += word;
  }
  return lines.map((line) => fitted(ctx, line, width));
}

// The middle of a pixel, where thin lines are sharp and lie in the middle of thicker ones.
function crisp(position) {
  return Math.floor(position) + 0.5;
}

// The corner points of a step function between two indices, at most a few for each pixel column.
function stepPoints(view, times, values, begin, end, yOf) {
  const points = [];
  let lastY = yOf(values[begin]);
  let column = Math.max(view.left, crisp(view.xOf(times[begin])));
  let low = lastY;
  let high = lastY;
  points.push(column, lastY);
  const leaveColumn = () => {
    if (low < lastY || high > lastY) points.push(column, low, column, high, column, lastY);
  };
  for (let i = begin + 1; i < end; ++i) {
    const x = Math.min(view.right + 2, Math.max(view.left, crisp(view.xOf(times[i]))));
    const y = yOf(values[i]);
    if (x - column < 1) {
      low = Math.min(low, y);
      high = Math.max(high, y);
      lastY = y;
      continue;
    }
    leaveColumn();
    points.push(x, lastY, x, y);
    [column, lastY, low, high] = [x, y, y, y];
  }
  leaveColumn();
  points.push(Math.max(column, Math.min(view.right + 2, view.xOf(view.runEnd))), lastY);
  return points;
}

function tracePath(ctx, points) {
  ctx.moveTo(points[0], points[1]);
  for (let i = 2; i < points.length; i += 2) ctx.lineTo(points[i], points[i + 1]);
}

function strokePoints(ctx, points, colour, width) {
  ctx.beginPath();
  tracePath(ctx, points);
  ctx.strokeStyle = colour;
  ctx.lineWidth = width;
  ctx.stroke();
}

function fillBetween(ctx, upper, lower, colour) {
  ctx.beginPath();
  tracePath(ctx, upper);
  for (let i = lower.length - 2; i >= 0; i -= 2) ctx.lineTo(lower[i], lower[i + 1]);
  ctx.closePath();
  ctx.fillStyle = colour;
  ctx.fill();
}

function drawTrack(ctx, view, row, top, colours, marked) {
  const {track} = row;
  const pad = track.isRange ? 9 : 7;
  const yOf = trackScale(track, top + pad, row.height - 2 * pad);
  for (const node of track.nodes) drawNodeLine(ctx, view, track, node, yOf, colours);
  drawSteps(ctx, view, track, yOf, colours);
  for (const node of track.nodes) drawNode(ctx, view, track, node, yOf, top + row.height, colours);
  if (marked) drawAsked(ctx, view, track, marked, yOf, colours);
}

// Where floor and ceiling are one value, both are seen: the ceiling lies upon it, the floor below.
function drawSteps(ctx, view, track, yOf, colours) {
  const {t, floor, ceiling} = track.steps;
  if (t.length === 0) return;
  const [begin, end] = visibleRange(t, view.from, view.until);
  const lower = stepPoints(view, t, floor, begin, end, yOf);
  if (track.isRange) {
    const upper = stepPoints(view, t, ceiling, begin, end, yOf);
    fillBetween(ctx, upper, lower, colours.band);
    ctx.translate(0, -1);
    strokePoints(ctx, upper, colours.ceiling, 2);
    ctx.translate(0, 2);
    strokePoints(ctx, lower, colours.floor, 2);
    ctx.translate(0, -1);
  } else {
    strokePoints(ctx, lower, colours.floor, 2);
  }
}

// Values of a track to heights; without any range all stand in the middle.
function trackScale(track, top, height) {
  const span = track.high - track.low;
  return (value) => crisp(span > 0 && Number.isFinite(value)
      ? top + height * (1 - (Math.min(track.high, Math.max(track.low, value)) - track.low) / span)
      : top + height / 2);
}

// What the node was told, as a thin line below the others: it is seen where it differs from them.
function drawNodeLine(ctx, view, track, node, yOf, colours) {
  if (!track.isRange || !node.isNumeric) return;
  const [begin, end] = visibleRange(node.t, view.from, view.until);
  strokePoints(ctx, stepPoints(view, node.t, node.numbers, begin, end, yOf), colours.written, 1);
}

// A dot a write unless there are too many, and the text beside it where it is no number of the
// track's own range.
function drawNode(ctx, view, track, node, yOf, bottom, colours) {
  if (node.t.length === 0) return;
  const [begin, end] = visibleRange(node.t, view.from, view.until);
  const isOnScale = track.isRange && node.isNumeric;
  const isCrowded = end - begin > (view.right - view.left) / 8;
  let lastX = -Infinity;
  let lastY = NaN;
  ctx.fillStyle = colours.written;
  ctx.font = SMALL_FONT;
  for (let i = begin; i < end; ++i) {
    const x = view.xOf(node.t[i]);
    const y = isOnScale ? yOf(node.numbers[i]) : heightAt(track, node.t[i], yOf);
    const failed = node.failures[i] !== undefined;
    if (x < view.left - 4 || x > view.right + 4) continue;
    if (!failed && x - lastX < 2 && Math.abs(y - lastY) < 2) continue;
    drawWrite(ctx, x, y, failed, isCrowded ? 1.5 : 2.5, colours);
    if (!isOnScale && track.nodes[0] === node) {
      const next = i + 1 < end ? view.xOf(node.t[i + 1]) : view.right;
      const text = fitted(ctx, writtenText(node.values[i], track), next - x - 10);
      const isHigh = y < bottom - 20;
      if (text) ctx.fillText(text, x + 6, isHigh ? y + 10 : y - 9);
    }
    [lastX, lastY] = [x, y];
  }
}

function heightAt(track, t, yOf) {
  const step = Math.max(0, upperBound(track.steps.t, t) - 1);
  return yOf(track.steps.floor[step]);
}

function drawWrite(ctx, x, y, failed, radius, colours) {
  if (failed) {
    ctx.strokeStyle = colours.failed;
    ctx.lineWidth = 2;
    ctx.beginPath();
    ctx.moveTo(x - 4, y - 4);
    ctx.lineTo(x + 4, y + 4);
    ctx.moveTo(x + 4, y - 4);
    ctx.lineTo(x - 4, y + 4);
    ctx.stroke();
    return;
  }
  ctx.beginPath();
  ctx.arc(x, y, radius, 0, 2 * Math.PI);
  ctx.fill();
}

function drawAsked(ctx, view, track, request, yOf, colours) {
  ctx.strokeStyle = colours.asked;
  ctx.lineWidth = 2;
  ctx.setLineDash([6, 4]);
  for (const part of request.parts) {
    if (part.track !== track.index) continue;
    const y = yOf(part.value);
    ctx.beginPath();
    ctx.moveTo(Math.max(view.left, view.xOf(request.from)), y);
    ctx.lineTo(Math.min(view.right, view.xOf(request.until)), y);
    ctx.stroke();
  }
  ctx.setLineDash([]);
}

function drawLane(ctx, view, row, top, colours, marked) {
  const {requests, starts} = row.lane;
  const [begin, end] = visibleRange(starts, view.from, view.until);
  let lastX = -Infinity;
  for (let i = begin; i < end; ++i) {
    const request = requests[i];
    const x = Math.max(view.left - 4, view.xOf(request.from));
    const right = Math.min(view.right + 4, view.xOf(request.until));
    const isMarked = marked === request;
    if (right < view.left || (right < lastX + 1 && !isMarked)) continue;
    const width = Math.max(1.5, right - x - 1);
    const {fill, edge} = sliceColours(request.hue, colours.isDark);
    ctx.fillStyle = width < 5 ? edge : fill;
    ctx.fillRect(x, top, width, row.height);
    lastX = x + width;
    if (width >= 5 || isMarked) {
      ctx.lineWidth = isMarked ? 2 : 1;
      ctx.strokeStyle = isMarked ? colours.asked : edge;
      ctx.strokeRect(x + 0.5, top + 0.5, Math.max(1, width - 1), row.height - 1);
    }
    const textLeft = Math.max(view.left, x) + 5;
    ctx.font = width < 72 ? SMALL_FONT : FONT;
    const text = fitted(ctx, request.shortText, right - textLeft - 3);
    if (text) {
      ctx.fillStyle = colours.text;
      ctx.fillText(text, textLeft, top + row.height / 2 + 0.5);
    }
  }
}

// Marks that would overlap are drawn as one, with their number.
function markClusters(view, row) {
  const clusters = [];
  const [begin, end] = visibleRange(row.times, view.from, view.until);
  for (let i = begin; i < end; ++i) {
    const x = view.xOf(row.times[i]);
    const last = clusters[clusters.length - 1];
    if (last && x - last.x < 5) last.marks.push(row.marks[i]);
    else clusters.push({x, marks: [row.marks[i]]});
  }
  return clusters;
}

// A wait is seen as time that passes: it has a small tick and no words.
function clusterText(marks) {
  const acts = marks.filter((mark) => !mark.text.startsWith('wait '));
  if (acts.length === 0) return '';
  return (acts.length > 1 ? `(${acts.length}) ` : '') + acts[0].text;
}

function drawMarks(ctx, view, row, top, colours) {
  ctx.font = FONT;
  const clusters = markClusters(view, row);
  let next = view.right + 40;
  for (const {x, marks} of clusters.reverse()) {
    const words = clusterText(marks);
    ctx.fillStyle = words ? colours.accent : colours.muted;
    if (x >= view.left) ctx.fillRect(x - 1, top + (words ? 2 : row.height - 5), 2, words ? row.height - 4 : 5);
    const left = Math.max(view.left, x) + 5;
    const text = fitted(ctx, words, Math.min(next, view.right) - left - 5);
    if (text) {
      ctx.fillStyle = colours.text;
      ctx.fillText(text, left, top + row.height / 2 + 0.5);
    }
    if (words) next = x;
  }
}

function drawLimit(ctx, view, row, top, colours) {
  ctx.font = SMALL_FONT;
  for (const entry of row.history.entries) {
    const x = Math.max(view.left - 2, view.xOf(entry.from));
    const right = Math.min(view.right + 2, view.xOf(entry.until));
    if (right < view.left || x > view.right) continue;
    ctx.fillStyle = colours.limit;
    ctx.fillRect(x, top + 2, Math.max(2, right - x), row.height - 4);
    ctx.strokeStyle = colours.ceiling;
    ctx.lineWidth = 1;
    ctx.strokeRect(x + 0.5, top + 2.5, Math.max(1, right - x - 1), row.height - 5);
    const left = Math.max(view.left, x) + 6;
    const text = fitted(ctx, '≤ ' + valueText(entry.value, row.history.unit), right - left - 4);
    if (text) {
      ctx.fillStyle = colours.text;
      ctx.fillText(text, left, top + row.height / 2 + 0.5);
    }
  }
}

const DRAW_ROW = {marks: drawMarks, lane: drawLane, track: drawTrack, limit: drawLimit};

function drawGutter(ctx, view, row, top, colours) {
  const {gutter} = view;
  ctx.fillStyle = colours.text;
  ctx.font = row.kind === 'track' && row.track.isRange ? BOLD_FONT : FONT;
  const middle = top + row.height / 2 + 0.5;
  // A narrow gutter has room for names alone, but a frequency needs its scale.
  const isRange = row.kind === 'track' && row.track.high > row.track.low && (row.track.isRange || gutter > 150);
  const room = gutter - 14 - (isRange ? 48 : 0);
  let lines = wrapped(ctx, row.label, room, row.height >= 34 ? 2 : 1);
  if (row.height >= 34 && lines.some((line) => line.endsWith('…'))) {
    ctx.font = SMALL_FONT;
    lines = wrapped(ctx, row.label, room, 3);
  }
  lines.forEach((line, index) => {
    ctx.fillText(line, 10, middle + (index - (lines.length - 1) / 2) * 13);
  });
  if (!isRange) return;
  const {track} = row;
  ctx.font = SMALL_FONT;
  ctx.fillStyle = colours.muted;
  ctx.textAlign = 'right';
  const pad = 9;
  ctx.fillText(valueText(track.high, track.unit, false), gutter - 6, top + pad);
  ctx.fillText(valueText(track.low, track.unit, false), gutter - 6, top + row.height - pad);
  if (track.isRange) ctx.fillText(readableUnit(track.unit), gutter - 6, middle);
  ctx.textAlign = 'left';
}

function drawAxis(ctx, view, colours) {
  const step = tickStep(view.microsPerPixel, 84);
  ctx.font = SMALL_FONT;
  ctx.fillStyle = colours.raised;
  ctx.fillRect(0, 0, view.width, ROW_HEIGHT.axis);
  ctx.fillStyle = colours.edge;
  ctx.fillRect(0, ROW_HEIGHT.axis - 1, view.width, 1);
  ctx.fillStyle = colours.muted;
  ctx.fillText(fitted(ctx, 'Time since the run began', view.gutter - 14), 10, ROW_HEIGHT.axis / 2);
  ctx.fillStyle = colours.text;
  for (let t = Math.ceil(view.from / step) * step; t <= view.until; t += step) {
    const x = view.xOf(t);
    ctx.fillRect(Math.round(x), ROW_HEIGHT.axis - 6, 1, 6);
    if (x + 4 < view.right - 40) ctx.fillText(tickText(t, step), x + 4, ROW_HEIGHT.axis / 2);
  }
}

function drawGrid(ctx, view, colours) {
  const step = tickStep(view.microsPerPixel, 84);
  ctx.fillStyle = colours.grid;
  for (let t = Math.ceil(view.from / step) * step; t <= view.until; t += step) {
    ctx.fillRect(Math.round(view.xOf(t)), ROW_HEIGHT.axis, 1, view.height);
  }
}

// `hover`: x of the pointer or NaN; `marked`: the request that is hovered or stepped to, or null.
function drawFrame(ctx, view, rows, colours, hover, marked) {
  ctx.textBaseline = 'middle';
  ctx.fillStyle = colours.surface;
  ctx.fillRect(0, 0, view.width, view.height);
  drawGrid(ctx, view, colours);
  const visible = rows.filter((row) => row.y + row.height > view.scroll && row.y < view.scroll + view.height);
  ctx.save();
  ctx.beginPath();
  ctx.rect(view.left, 0, view.right - view.left, view.height);
  ctx.clip();
  for (const row of visible) DRAW_ROW[row.kind](ctx, view, row, row.y - view.scroll, colours, marked);
  if (hover >= view.left) {
    ctx.fillStyle = colours.hover;
    ctx.fillRect(Math.round(hover), 0, 1, view.height);
  }
  ctx.restore();
  for (const row of visible) {
    const top = row.y - view.scroll;
    drawGutter(ctx, view, row, top, colours);
    ctx.fillStyle = colours.grid;
    if (row.kind === 'track') ctx.fillRect(0, top + row.height + ROW_GAP / 2, view.width, 1);
  }
  ctx.fillStyle = colours.edge;
  ctx.fillRect(view.left - 1, 0, 1, view.height);
  drawAxis(ctx, view, colours);
  if (hover >= view.left) drawHoverTime(ctx, view, hover, colours);
}

function drawHoverTime(ctx, view, x, colours) {
  const text = exactTimeText(view.tOf(x));
  ctx.font = SMALL_FONT;
  const width = widthOf(ctx, text) + 12;
  const left = Math.min(view.right - width, Math.max(view.left, x - width / 2));
  ctx.fillStyle = colours.accent;
  ctx.fillRect(left, 2, width, ROW_HEIGHT.axis - 5);
  ctx.fillStyle = colours.surface;
  ctx.fillText(text, left + 6, ROW_HEIGHT.axis / 2);
}
