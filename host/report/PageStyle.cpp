// SPDX-License-Identifier: MIT
#include "host/report/PageStyle.h"

namespace orlo::host {

// Positions on lanes are percentages of the lane, so that zoom changes one width. Rows outside the
// window are not laid out (content-visibility), so that hundreds of tracks open at once.
const char* const PAGE_STYLE = R"css(
:root {
  color-scheme: light dark;
  --head: 11rem; --zoom: 1;
  --page: #fff; --text: #1b1e24; --faint: #5c6470; --line: #d5d9e0; --lane: #f2f4f7;
  --clip: #cfe1fb; --edge: #5b8fd6; --wave: #1d58ad;
  --off: #e0e2e6; --off-edge: #9aa0aa; --off-wave: #80868f;
  --nested: #e4dcf8; --nested-edge: #8f76cf; --bad: #c62828; --bad-back: #fbdcdc;
  --warm: #a15c00; --cross: #f5c542; --peak: #3d8f5f; --loud: #8a3ffc; --accent: #d9730d;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #14161a; --text: #e6e8ec; --faint: #a2a9b4; --line: #353a43; --lane: #1d2026;
    --clip: #1f3a60; --edge: #5b8fd6; --wave: #8fbcff;
    --off: #2b2e34; --off-edge: #666c77; --off-wave: #80868f;
    --nested: #35294f; --nested-edge: #9d86dd; --bad: #ff7b72; --bad-back: #4a1f20;
    --warm: #f0b35a; --cross: #c79a1e; --peak: #57b881; --loud: #b692ff; --accent: #ff9d45;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1rem 1.5rem 3rem; max-width: 110rem;
  background: var(--page); color: var(--text); font: 14px/1.45 system-ui, sans-serif;
}
h1 { font-size: 1.6rem; margin: 0 0 .3rem; overflow-wrap: anywhere; }
h2 { font-size: 1.1rem; margin: 1.6rem 0 .5rem; }
a { color: inherit; }
.facts { display: flex; flex-wrap: wrap; gap: .1rem 1.5rem; margin: 0; }
.facts div { display: flex; gap: .4rem; }
.facts dt { color: var(--faint); }
.facts dd { margin: 0; overflow-wrap: anywhere; }
.top { display: flex; flex-wrap: wrap; gap: 0 3rem; align-items: flex-start; }
.summary { list-style: none; margin: .8rem 0 0; padding: 0; }
.summary li { padding: .1rem .6rem; border-left: 4px solid var(--peak); }
.summary .attention { border-color: var(--bad); font-weight: 600; }
.summary .todo { border-color: var(--bad); }
table { border-collapse: collapse; }
th, td { padding: .25rem 1rem .25rem 0; text-align: left; border-bottom: 1px solid var(--line); }
td { font-variant-numeric: tabular-nums; }
#tools { display: flex; gap: .4rem; align-items: center; margin: 0 0 .4rem; }
#tools[hidden] { display: none; }
#tools button { font: inherit; min-width: 2.2rem; padding: .1rem .5rem; }
#readout { margin-left: 1rem; font-variant-numeric: tabular-nums; white-space: pre; }
#view {
  overflow: auto; max-height: calc(100vh - 3rem); border: 1px solid var(--line); position: relative;
}
#rows { position: relative; width: calc(var(--head) + (100% - var(--head)) * var(--zoom)); }
.row { display: flex; border-bottom: 1px solid var(--line); }
.row.track { content-visibility: auto; contain-intrinsic-size: auto 4.1rem; }
.head {
  position: sticky; left: 0; z-index: 3; flex: none; width: var(--head); padding: .2rem .5rem;
  overflow: hidden; background: var(--page); border-right: 1px solid var(--line);
}
.head b { display: block; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
.head span { color: var(--faint); font-size: .8rem; margin-right: .5rem; }
.head i {
  position: absolute; right: .3rem; transform: translateY(-50%); font: .65rem system-ui, sans-serif;
  color: var(--faint);
}
.lane { position: relative; flex: 1; min-width: 0; height: 4rem; overflow: hidden; }
.track .lane { background: var(--lane); }
.bare .lane { height: 1.6rem; }
.bare .lane span { color: var(--faint); font-size: .8rem; margin-left: .5rem; line-height: 1.6rem; }
.row.ruler { position: sticky; top: 0; z-index: 4; background: var(--page); }
.ruler .lane { height: 1.5rem; }
.ruler .lane span {
  position: absolute; bottom: 0; padding-left: .25rem; border-left: 1px solid var(--faint);
  font-size: .75rem; font-variant-numeric: tabular-nums; white-space: nowrap;
}
#cursor {
  position: absolute; top: 0; bottom: 0; width: 1px; z-index: 2; background: var(--accent);
  pointer-events: none;
}
svg { position: absolute; inset: 0; width: 100%; height: 100%; display: block; }
path { vector-effect: non-scaling-stroke; }
.grid { fill: none; stroke: var(--line); stroke-width: 1; }
.peak { fill: var(--peak); stroke: none; }
.loud { fill: none; stroke: var(--loud); stroke-width: 1.5; }
.mean { fill: none; stroke: var(--loud); stroke-width: 1; stroke-dasharray: 6 4; }
.over { position: absolute; top: 0; bottom: 0; min-width: 3px; background: var(--bad); }
.clip, .cross { position: absolute; top: 0; bottom: 0; min-width: 1px; overflow: hidden; }
.clip {
  background: var(--clip); border: 1px solid var(--edge); border-radius: 3px;
  scroll-margin: 5rem 5rem 5rem calc(var(--head) + 3rem);
}
.clip > svg path { fill: var(--wave); stroke: var(--wave); stroke-width: .6; }
.clip > span {
  position: absolute; left: 3px; top: 0; font-size: .7rem; white-space: nowrap;
  text-shadow: 0 0 3px var(--page), 0 0 3px var(--page);
}
.nested { background: var(--nested); border: 2px solid var(--nested-edge); }
.inner { position: absolute; inset: 1rem 0 0; display: flex; flex-direction: column; gap: 1px; }
.inner .lane { height: auto; background: none; }
.inner .clip > span { font-size: .6rem; }
.fade { position: absolute; top: 0; bottom: 0; background: var(--text); opacity: .3; }
.fade.in { left: 0; }
.fade.out { right: 0; transform: scaleX(-1); }
.linear { clip-path: polygon(0 0, 100% 0, 0 100%); }
.equal-power {
  clip-path: polygon(0 0, 100% 0, 75% 8%, 50% 29%, 25% 62%, 0 100%);
}
.db { clip-path: polygon(0 0, 100% 0, 90% 50%, 80% 75%, 60% 94%, 30% 99%, 0 100%); }
.cross {
  border: 1px solid var(--warm); z-index: 1;
  background:
    linear-gradient(to top right, transparent 47%, var(--cross) 47% 53%, transparent 53%),
    linear-gradient(to bottom right, transparent 47%, var(--cross) 47% 53%, transparent 53%);
}
.muted, .silent .clip, .silent .cross { border-color: var(--off-edge); }
.muted, .silent .clip {
  background: repeating-linear-gradient(45deg, var(--off) 0 6px, var(--lane) 6px 9px);
}
.muted > svg path, .silent .clip > svg path { fill: var(--off-wave); stroke: var(--off-wave); }
.missing, .soundless, .silent .clip.missing, .silent .clip.soundless {
  border: 2px dashed var(--bad);
  background: repeating-linear-gradient(-45deg, var(--bad-back) 0 8px, var(--lane) 8px 12px);
}
.missing > span, .soundless > span { color: var(--bad); font-weight: 600; }
:target { outline: 3px solid var(--accent); outline-offset: -3px; }
.entries { padding-left: 2rem; }
.entries li { margin: .3rem 0; overflow-wrap: anywhere; break-inside: avoid; }
.entries em {
  font-style: normal; font-size: .75rem; padding: .05rem .4rem; border-radius: .6rem;
  border: 1px solid; margin-right: .4rem;
}
.silence em { color: var(--bad); }
.change em { color: var(--warm); }
.note em { color: var(--faint); }
.entries .places { display: block; color: var(--faint); }
.empty { padding: .8rem 1rem; border: 1px solid var(--warm); border-left-width: 6px; }
footer { margin-top: 2rem; color: var(--faint); font-size: .85rem; }
@page { size: landscape; margin: 10mm; }
@media print {
  :root {
    color-scheme: light; --head: 8rem; --page: #fff; --text: #1b1e24; --faint: #5c6470;
    --line: #d5d9e0; --lane: #f2f4f7; --clip: #cfe1fb; --wave: #1d58ad; --off: #e0e2e6;
    --off-edge: #9aa0aa; --nested: #e4dcf8; --bad: #c62828; --bad-back: #fbdcdc;
    --warm: #a15c00; --peak: #3d8f5f; --loud: #8a3ffc; font-size: 12px;
  }
  * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  body { padding: 0; max-width: none; font-size: 11px; }
  #tools, #tools[hidden], #cursor { display: none; }
  #view { overflow: visible; max-height: none; }
  .row, .row.track { break-inside: avoid; content-visibility: visible; }
  .row.ruler, .head { position: static; }
  .curve .head { position: relative; }
}
)css";

}  // namespace orlo::host
