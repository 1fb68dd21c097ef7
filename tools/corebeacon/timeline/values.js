// Numbers and times for people, and searches in sorted arrays.

const PER_UNIT = {kHz: [1e3, 'MHz'], Hz: [1e6, 'MHz'], 'm°C': [1e3, '°C']};

function shortNumber(value) {
  return String(Number(value.toFixed(3)));
}

// A value of a track in a unit that is easy to read; `withUnit` false for axes and the like.
function valueText(value, unit, withUnit = true) {
  const [divisor, readable] = PER_UNIT[unit] || [1, unit];
  return shortNumber(value / divisor) + (withUnit && readable ? ' ' + readable : '');
}

function readableUnit(unit) {
  return (PER_UNIT[unit] || [1, unit])[1];
}

// What a node was told: in the track's unit where the node takes its values, else as it is.
function writtenText(text, track) {
  return track.isRange && /^-?\d+$/.test(text) ? valueText(Number(text), track.unit) : text;
}

// Microseconds since the run began.
function timeText(micros) {
  return (micros / 1e6).toFixed(3) + ' s';
}

function exactTimeText(micros) {
  return (micros / 1e6).toFixed(6) + ' s';
}

function spanText(micros) {
  if (micros < 1000) return Math.round(micros) + ' µs';
  if (micros < 1e6) return shortNumber(micros / 1e3) + ' ms';
  return shortNumber(micros / 1e6) + ' s';
}

// A round step of time so that labels stand at least `pixels` apart.
function tickStep(microsPerPixel, pixels) {
  const least = Math.max(1, microsPerPixel * pixels);
  const power = 10 ** Math.floor(Math.log10(least));
  return [1, 2, 5, 10].map((factor) => factor * power).find((step) => step >= least * 0.999);
}

function tickText(micros, step) {
  if (step >= 1000) {
    const digits = Math.max(0, 6 - Math.floor(Math.log10(step)));
    return (micros / 1e6).toFixed(digits) + ' s';
  }
  return (micros / 1e3).toFixed(Math.max(0, 3 - Math.floor(Math.log10(step)))) + ' ms';
}

// Index of the first element above `value`; the elements ascend.
function upperBound(sorted, value) {
  let low = 0;
  let high = sorted.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (sorted[middle] <= value) low = middle + 1;
    else high = middle;
  }
  return low;
}

function countText(count, noun) {
  return count.toLocaleString('en') + ' ' + noun + (count === 1 ? '' : 's');
}
