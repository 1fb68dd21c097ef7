// The chart: what part of the run it shows, and how pointer and keys move it.

const LEAST_SPAN_MICROS = 20;

class Chart {
  constructor(run, elements, onView) {
    this.run = run;
    this.elements = elements;
    this.onView = onView;  // told when the part shown, or the marked request, has changed
    this.context = elements.canvas.getContext('2d', {alpha: false});
    this.whole = Math.max(LEAST_SPAN_MICROS, run.end);
    this.hover = null;   // pointer position on the canvas
    this.marked = null;  // request under the pointer or stepped to
    this.drag = null;
    this.isFramePending = false;
    this.fit();
    this.listen();
    new ResizeObserver(() => this.resize()).observe(elements.scroll);
  }

  fit() {
    const margin = this.whole * 0.01;
    this.setView(-margin, this.whole + margin);
  }

  setView(from, until) {
    const widest = this.whole * 1.02;
    const span = Math.min(widest, Math.max(LEAST_SPAN_MICROS, until - from));
    const least = -this.whole * 0.01;
    this.from = Math.min(Math.max(from, least), least + widest - span);
    this.until = this.from + span;
    this.changed();
  }

  setRows(layout) {
    this.layout = layout;
    this.elements.spacer.style.height = layout.height + 'px';
    if (this.marked && !layout.shown.includes(this.marked)) this.marked = null;
    this.changed();
  }

  setColours(colours) {
    this.colours = colours;
    this.changed();
  }

  changed() {
    if (!this.isFramePending) {
      this.isFramePending = true;
      requestAnimationFrame(() => this.draw());
    }
  }

  resize() {
    const {scroll, canvas} = this.elements;
    const ratio = window.devicePixelRatio || 1;
    this.width = scroll.clientWidth;
    this.height = scroll.clientHeight;
    canvas.width = Math.round(this.width * ratio);
    canvas.height = Math.round(this.height * ratio);
    canvas.style.width = this.width + 'px';
    canvas.style.height = this.height + 'px';
    this.context.setTransform(ratio, 0, 0, ratio, 0, 0);
    this.changed();
  }

  // The part in view as the drawing needs it.
  view() {
    const gutter = this.width < 560 ? 116 : 216;
    const left = gutter;
    const right = this.width;
    const microsPerPixel = (this.until - this.from) / (right - left);
    return {
      from: this.from, until: this.until, runEnd: this.run.end, left, right, gutter, microsPerPixel,
      width: this.width, height: this.height, scroll: this.elements.scroll.scrollTop,
      xOf: (t) => left + (t - this.from) / microsPerPixel,
      tOf: (x) => this.from + (x - left) * microsPerPixel,
    };
  }

  draw() {
    this.isFramePending = false;
    if (!this.layout || !this.width || !this.colours) return;
    if (this.hover && !this.drag) this.markHovered();
    drawFrame(this.context, this.view(), this.layout.rows, this.colours,
              this.hover && !this.drag ? this.hover.x : NaN, this.marked);
    this.onView();
  }

  // Also when the view moved below a pointer at rest.
  markHovered() {
    const hit = this.hit();
    this.marked = (hit && hit.request) || null;
    this.elements.canvas.classList.toggle('over', this.marked !== null);
  }

  zoom(factor, x) {
    const view = this.view();
    const centre = x === undefined ? (this.from + this.until) / 2 : view.tOf(Math.max(view.left, x));
    this.setView(centre - (centre - this.from) * factor, centre + (this.until - centre) * factor);
  }

  pan(micros) {
    this.setView(this.from + micros, this.until + micros);
  }

  scrollBy(pixels) {
    this.elements.scroll.scrollTop += pixels;
  }

  listen() {
    const {canvas, scroll} = this.elements;
    canvas.addEventListener('wheel', (event) => this.onWheel(event), {passive: false});
    canvas.addEventListener('pointerdown', (event) => this.onDown(event));
    canvas.addEventListener('pointermove', (event) => this.onMove(event));
    canvas.addEventListener('pointerup', () => this.onUp());
    canvas.addEventListener('pointercancel', () => this.onUp());
    canvas.addEventListener('pointerleave', () => this.onLeave());
    canvas.addEventListener('dblclick', (event) => this.zoom(0.4, this.position(event).x));
    canvas.addEventListener('keydown', (event) => this.onKey(event));
    scroll.addEventListener('scroll', () => this.changed());
  }

  position(event) {
    const box = this.elements.canvas.getBoundingClientRect();
    return {x: event.clientX - box.left, y: event.clientY - box.top};
  }

  onWheel(event) {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1;
    const [dx, dy] = [event.deltaX * lines, event.deltaY * lines];
    const {x} = this.position(event);
    const view = this.view();
    if (event.shiftKey || x < view.left) {
      this.scrollBy(dy || dx);
    } else if (Math.abs(dx) > Math.abs(dy)) {
      this.pan(dx * view.microsPerPixel);
    } else {
      this.zoom(Math.exp(Math.min(200, Math.max(-200, dy)) * 0.002), x);
    }
  }

  onDown(event) {
    if (event.button !== 0) return;
    const {canvas, scroll} = this.elements;
    canvas.setPointerCapture(event.pointerId);
    const {x, y} = this.position(event);
    this.drag = {x, y, from: this.from, scroll: scroll.scrollTop};
    canvas.classList.add('dragging');
  }

  onMove(event) {
    const at = this.position(event);
    if (this.drag) {
      this.hover = null;
      const micros = (this.drag.x - at.x) * this.view().microsPerPixel;
      this.pan(this.drag.from + micros - this.from);
      this.elements.scroll.scrollTop = this.drag.scroll + this.drag.y - at.y;
    } else {
      this.hover = at;
      this.changed();
    }
  }

  onUp() {
    this.drag = null;
    this.elements.canvas.classList.remove('dragging');
    this.changed();
  }

  onLeave() {
    if (this.drag) return;
    this.hover = null;
    this.marked = null;
    this.changed();
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const tenth = (this.until - this.from) / 10;
    const actions = {
      ArrowLeft: () => this.pan(-tenth),
      ArrowRight: () => this.pan(tenth),
      ArrowUp: () => this.scrollBy(-60),
      ArrowDown: () => this.scrollBy(60),
      PageUp: () => this.scrollBy(-this.height * 0.8),
      PageDown: () => this.scrollBy(this.height * 0.8),
      '+': () => this.zoom(0.7),
      '=': () => this.zoom(0.7),
      '-': () => this.zoom(1 / 0.7),
      0: () => this.fit(),
      Home: () => this.fit(),
      n: () => this.stepRequest(1),
      p: () => this.stepRequest(-1),
      Enter: () => this.marked && this.zoomTo(this.marked),
      Escape: () => this.mark(null),
    };
    const action = actions[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (action) {
      event.preventDefault();
      action();
    }
  }

  stepRequest(direction) {
    const {shown} = this.layout;
    if (shown.length === 0) return;
    const at = shown.indexOf(this.marked);
    const next = at < 0 ? (direction > 0 ? 0 : shown.length - 1) : at + direction;
    this.mark(shown[Math.min(shown.length - 1, Math.max(0, next))]);
  }

  // Marks a request and brings it into view.
  mark(request) {
    this.hover = null;
    this.marked = request;
    if (request) {
      const span = this.until - this.from;
      if (request.until < this.from || request.from > this.until) {
        this.setView(request.from - span / 4, request.from + (span * 3) / 4);
      }
      this.reveal(this.rowOf(request));
    }
    this.changed();
  }

  zoomTo(request) {
    const length = Math.max(LEAST_SPAN_MICROS, request.until - request.from);
    this.setView(request.from - length * 0.15, request.until + length * 0.15);
    this.mark(request);
  }

  rowOf(request) {
    return this.layout.rows.find((row) => row.kind === 'lane' && row.lane.requests.includes(request));
  }

  reveal(row) {
    const {scroll} = this.elements;
    const top = row.y - ROW_HEIGHT.axis - ROW_GAP;
    if (top < scroll.scrollTop) scroll.scrollTop = top;
    else if (row.y + row.height > scroll.scrollTop + this.height) {
      scroll.scrollTop = row.y + row.height + ROW_GAP - this.height;
    }
  }

  // What is under the pointer: {row, t} with a request, marks or an entry of the limit history.
  hit() {
    const view = this.view();
    if (!this.hover || this.hover.x < view.left || this.hover.y < ROW_HEIGHT.axis) return null;
    const y = this.hover.y + view.scroll;
    const row = this.layout.rows.find((each) => y >= each.y - 1 && y < each.y + each.height + 1);
    return row ? hitRow(row, view, this.hover.x) : null;
  }
}

function hitRow(row, view, x) {
  const t = view.tOf(x);
  const near = 3 * view.microsPerPixel;
  if (row.kind === 'lane') {
    const {requests, starts} = row.lane;
    const at = upperBound(starts, t + near) - 1;
    const request = [requests[at], requests[at - 1]].find((each) => each && t <= each.until + near);
    return request ? {row, t, request} : null;
  }
  if (row.kind === 'marks') {
    const cluster = markClusters(view, row).find((each) => Math.abs(each.x - x) < 6) ||
        markClusters(view, row).filter((each) => each.x <= x).pop();
    return cluster ? {row, t, marks: cluster.marks} : null;
  }
  if (row.kind === 'limit') {
    const entry = row.history.entries.find((each) => each.from - near <= t && t <= each.until + near);
    return entry ? {row, t, entry} : null;
  }
  return {row, t};
}
