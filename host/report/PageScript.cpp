// SPDX-License-Identifier: MIT
#include "host/report/PageStyle.h"

namespace orlo::host {

// timecode() is TimecodeOfFrame of host/shell/Timecode.h.
const char* const PAGE_SCRIPT = R"js(
(() => {
  "use strict";
  const at = id => document.getElementById(id);
  const view = at("view"), axis = at("axis");
  if (!view) return;
  const data = view.dataset, fps = +data.fps, drop = +data.drop, first = +data.first;
  const from = +data.from, duration = +data.duration, nominal = Math.round(fps);
  const curves = JSON.parse(at("curves").textContent);
  const maxZoom = Math.min(4096, Math.max(1, duration / 2));
  let zoom = 1;

  const two = number => String(number).padStart(2, "0");
  function timecode(frame) {
    if (drop) {
      const perMinute = 60 * nominal - drop, perTen = 10 * perMinute + drop;
      const minutes = Math.max(0, Math.floor((frame % perTen - drop) / perMinute));
      frame += drop * (Math.floor(frame / perTen) * 9 + minutes);
    }
    const seconds = Math.floor(frame / nominal);
    return two(Math.floor(seconds / 3600)) + ":" + two(Math.floor(seconds / 60) % 60) + ":" +
      two(seconds % 60) + (drop ? ";" : ":") + two(frame % nominal);
  }
  const frameAt = seconds => first + Math.floor((from + seconds) * fps + 1e-6);

  function steps() {
    const list = [1, 2, 5, 10].filter(frames => frames < nominal);
    for (const seconds of [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 21600,
                           43200, 86400]) list.push(seconds * nominal);
    return list;
  }

  function drawRuler() {
    const pixels = axis.clientWidth / duration, list = steps();
    const step = list.find(frames => frames / fps * pixels >= 110) || list[list.length - 1];
    const left = view.scrollLeft / pixels, right = left + view.clientWidth / pixels;
    const marks = [];
    let frame = Math.ceil(frameAt(Math.max(0, left)) / step) * step;
    for (; marks.length < 100; frame += step) {
      const seconds = (frame - first) / fps - from;
      if (seconds > right || seconds >= duration) break;
      const mark = document.createElement("span");
      mark.style.left = 100 * Math.max(0, seconds) / duration + "%";
      mark.textContent = timecode(frame);
      marks.push(mark);
    }
    axis.replaceChildren(...marks);
  }

  /* The time under a position of the window, and back. */
  const timeAt = x => {
    const box = axis.getBoundingClientRect();
    return (x - box.left) / box.width * duration;
  };
  function setZoom(wanted, x) {
    const box = view.getBoundingClientRect(), head = view.clientWidth - axis.clientWidth / zoom;
    const pointer = x === undefined ? box.left + head + (box.width - head) / 2 : x;
    const time = timeAt(pointer);
    zoom = Math.min(maxZoom, Math.max(1, wanted));
    document.documentElement.style.setProperty("--zoom", zoom);
    const now = axis.getBoundingClientRect();
    view.scrollLeft += now.left + time / duration * now.width - pointer;
    drawRuler();
  }

  const level = (value, unit) => value === null || value === undefined ? "–" :
    (value / 10).toFixed(1).replace("-", "−") + " " + unit;
  function showTime(x) {
    const time = timeAt(x), inside = time >= 0 && time < duration;
    at("cursor").hidden = !inside;
    if (!inside) return;
    at("cursor").style.left =
      "calc(var(--head) + (100% - var(--head)) * " + time / duration + ")";
    const point = Math.floor(time / curves.step);
    at("readout").textContent = timecode(frameAt(time)) +
      "   peak " + level(curves.peak[point], "dB") +
      "   short-term " + level(curves.loudness[point], "LUFS");
  }

  /* A clip that is too narrow to be seen is enlarged when a link leads to it. */
  function showTarget() {
    const target = location.hash.length > 1 && at(location.hash.slice(1));
    if (!target) return;
    const width = target.getBoundingClientRect().width;
    if (target.matches(".clip, .cross") && width < 60) setZoom(zoom * 60 / Math.max(width, 0.01));
    target.scrollIntoView({block: "center", inline: "center"});
    drawRuler();
  }

  at("tools").hidden = false;
  for (const [name, factor] of [["in", 2], ["out", 0.5], ["all", 0]]) {
    at(name).addEventListener("click", () => setZoom(zoom * factor));
  }
  document.addEventListener("keydown", event => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (event.key === "+") setZoom(zoom * 2);
    if (event.key === "-") setZoom(zoom / 2);
    if (event.key === "0") setZoom(1);
  });
  view.addEventListener("wheel", event => {
    if (!event.ctrlKey) return;
    event.preventDefault();
    setZoom(zoom * Math.exp(-event.deltaY / 200), event.clientX);
  }, {passive: false});
  view.addEventListener("scroll", () => requestAnimationFrame(drawRuler));
  view.addEventListener("pointermove", event => showTime(event.clientX));
  view.addEventListener("pointerleave", () => { at("cursor").hidden = true; });
  window.addEventListener("resize", drawRuler);
  window.addEventListener("hashchange", showTarget);
  window.addEventListener("beforeprint", () => setZoom(1));
  drawRuler();
  showTarget();
})();
)js";

}  // namespace orlo::host
