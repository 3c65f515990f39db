#ifndef TANEXICS_LOG_PAGESTYLE_H
#define TANEXICS_LOG_PAGESTYLE_H

#include <string_view>

/// The style of the page: from 360 pixels on, by day, by night and on paper.
inline constexpr std::string_view kPageStyle = R"css(
:root { color-scheme: light; --page: #fff; --panel: #f4f5f7; --text: #1b1f24; --soft: #535b66;
  --edge: #c9ced6; --delivered: #0b6b57; --partly: #8a5300; --refused: #b3261e; --not-sent: #6a3d9a;
  --unknown: #505a66; }
@media screen and (prefers-color-scheme: dark) {
  :root { color-scheme: dark; --page: #14171b; --panel: #1e2329; --text: #e6e9ee; --soft: #a9b2be;
    --edge: #3a424d; --delivered: #5cc9ae; --partly: #f0b35c; --refused: #ff8a80;
    --not-sent: #c9a5f2; --unknown: #b4bdc9; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text);
  font: 1rem/1.5 system-ui, "Noto Sans", "DejaVu Sans", sans-serif; -webkit-text-size-adjust: 100%;
  text-size-adjust: 100%; }
main { max-width: 72rem; margin: 0 auto; padding: 1rem; }
h1 { font-size: 1.5rem; line-height: 1.2; margin: 0 0 .25rem; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; }
h3 { font-size: 1rem; margin: 1rem 0 .25rem; }
header p, figcaption, .rest, .cut { color: var(--soft); }
p, figure { margin: 0 0 .5rem; }
code, time, .pid, .code, .request { font-variant-numeric: tabular-nums; }
bdi { overflow-wrap: anywhere; }
:focus-visible { outline: 3px solid var(--not-sent); outline-offset: 2px; }
table { border-collapse: collapse; }
caption { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
th, td { text-align: left; padding: .35rem .75rem .35rem 0; border-bottom: 1px solid var(--edge);
  vertical-align: baseline; }
thead th { color: var(--soft); font-weight: normal; font-size: .875rem; }
.totals { width: 100%; }
.totals th[scope=row] { white-space: nowrap; width: 1%; }
.totals td:nth-child(2) { text-align: right; width: 1%; font-weight: bold;
  font-variant-numeric: tabular-nums; }
.totals thead th:nth-child(2) { text-align: right; }
.days th, .days td { white-space: nowrap; font-variant-numeric: tabular-nums; }
.days td, .days thead th + th { text-align: right; }
.patterns { position: absolute; }
.key { vertical-align: -.15em; margin-right: .5rem; }
.key rect { stroke: var(--text); }
.wide { overflow-x: auto; }
.latest { direction: rtl; }
.chart { direction: ltr; display: block; margin-right: auto; font-size: 12px; }
.chart text { fill: var(--soft); text-anchor: middle; }
.chart .levels text { text-anchor: start; }
.levels line { stroke: var(--edge); }
.chart rect { stroke: var(--page); }
.line { fill: var(--page); fill-opacity: .75; }
#fill-delivered .ink { fill: var(--delivered); }
#fill-partly .ink { fill: var(--partly); }
#fill-refused .ink { fill: var(--refused); }
#fill-not-sent .ink { fill: var(--not-sent); }
#fill-unknown .ink { fill: var(--unknown); }
.verdict { font-weight: bold; white-space: nowrap; }
.verdict.delivered { color: var(--delivered); }
.verdict.partly { color: var(--partly); }
.verdict.refused { color: var(--refused); }
.verdict.not-sent { color: var(--not-sent); }
.verdict.unknown { color: var(--unknown); }
summary { cursor: pointer; padding: .5rem 0; }
.filter { display: flex; flex-wrap: wrap; gap: .25rem 1rem; padding: .25rem 0 .75rem; }
.filter label { min-height: 2rem; white-space: nowrap; }
.runs:has(#show-delivered:checked) .run:not(.delivered),
.runs:has(#show-partly:checked) .run:not(.partly),
.runs:has(#show-refused:checked) .run:not(.refused),
.runs:has(#show-not-sent:checked) .run:not(.not-sent),
.runs:has(#show-unknown:checked) .run:not(.unknown) { display: none; }
.run { border: 1px solid var(--edge); border-left-width: 6px; border-radius: 6px;
  margin-bottom: .5rem; content-visibility: auto; contain-intrinsic-size: auto 4.5rem; }
.run.delivered { border-left-color: var(--delivered); }
.run.partly { border-left-color: var(--partly); }
.run.refused { border-left-color: var(--refused); }
.run.not-sent { border-left-color: var(--not-sent); }
.run.unknown { border-left-color: var(--unknown); }
.run > summary { padding: .5rem .75rem; }
.run .reason { display: block; color: var(--soft); }
.run .pid { color: var(--soft); }
.body { padding: .75rem; background: var(--panel); border-radius: 0 0 5px 0; }
dl { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(20rem, 100%), 1fr));
  gap: .35rem 1.5rem; margin: 0; }
dl > div { display: grid; grid-template-columns: 6.5rem minmax(0, 1fr); }
.long { grid-column: 1 / -1; }
dt { color: var(--soft); }
dd { margin: 0; }
ol { list-style: none; margin: .5rem 0 0; padding: 0 0 0 .5rem; }
ol li { position: relative; padding: 0 0 .75rem 1.75rem; border-left: 2px solid var(--edge); }
ol li:last-child { border-left-color: transparent; padding-bottom: 0; }
ol li::before { position: absolute; left: calc(-.75rem - 1px); top: 0; width: 1.5rem;
  height: 1.5rem; border-radius: 50%; background: var(--page); border: 2px solid;
  text-align: center; font-size: .8rem; line-height: 1.3rem; font-weight: bold; }
li.zero::before { content: "0"; color: var(--delivered); }
li.failed::before { content: "✕"; color: var(--refused); }
li.open::before { content: "?"; color: var(--unknown); }
.kind, .code { font-weight: bold; }
.error { display: block; color: var(--refused); }
ol .path { display: block; }
.explained { padding-left: 1.25rem; margin: .25rem 0; }
.explained .text { white-space: pre-wrap; }
.missing { padding-left: 1.25rem; margin: .25rem 0; }
@media (max-width: 30rem) {
  main { padding: .75rem; }
  .totals td:last-child { font-size: .875rem; line-height: 1.35; }
  .days th, .days td { font-size: .8rem; padding-right: .5rem; }
}
@media print {
  main { max-width: none; padding: 0; }
  :root { font-size: 9pt; }
  .body { background: none; }
  .wide { overflow: visible; }
  .chart { max-width: 100%; height: auto; }
  rect, .verdict { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  .table > summary { display: none; }
  .table::details-content, .run:not(.delivered)::details-content { content-visibility: visible;
    height: auto; }
  .run { content-visibility: visible; }
  .run > summary, ol li, dl > div, tr { break-inside: avoid; }
}
)css";

/// What the Content-Security-Policy calls it by, so that no other style counts: to be taken anew
/// when it changes, and the tests tell by which.
inline constexpr std::string_view kPageStyleHash =
    "sha256-+W8nMxoWGqlZdELvoxZ2aakBwK9M/hJl4BXaf6DuF1c=";

/// The hatchings, which stand in the page once and are used by the name of their verdict. Each
/// differs from the others in its lines as well as in its colour.
inline constexpr std::string_view kPagePatterns =
    R"html(<svg class="patterns" width="0" height="0" aria-hidden="true"><defs>
<pattern id="fill-delivered" width="8" height="8" patternUnits="userSpaceOnUse">
  <rect class="ink" width="8" height="8"/>
</pattern>
<pattern id="fill-partly" width="6" height="6" patternUnits="userSpaceOnUse"
  patternTransform="rotate(45)">
  <rect class="ink" width="6" height="6"/>
  <rect class="line" width="2" height="6"/>
</pattern>
<pattern id="fill-refused" width="6" height="6" patternUnits="userSpaceOnUse"
  patternTransform="rotate(45)">
  <rect class="ink" width="6" height="6"/>
  <rect class="line" width="1.5" height="6"/><rect class="line" width="6" height="1.5"/>
</pattern>
<pattern id="fill-not-sent" width="5" height="5" patternUnits="userSpaceOnUse">
  <rect class="ink" width="5" height="5"/>
  <rect class="line" width="5" height="1.5"/>
</pattern>
<pattern id="fill-unknown" width="5" height="5" patternUnits="userSpaceOnUse">
  <rect class="ink" width="5" height="5"/>
  <circle class="line" cx="2.5" cy="2.5" r="1.2"/>
</pattern>
</defs></svg>
)html";

#endif
