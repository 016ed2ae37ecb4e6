#pragma once

namespace cqtool {

/// The additions of a report of measurements to the style sheet that all reports share. On a narrow
/// screen the rows of a table of trials become grids, with the trial's name and verdict above its
/// numbers. Nothing is told by colour alone.
inline constexpr const char* kRecordStyle = R"css(
:root { --pass: #1f7a45; --warn: #8a5a00; --fail: #b3261e; }
@media screen and (prefers-color-scheme: dark) {
  :root { --pass: #6fcf97; --warn: #f2c25b; --fail: #ff8a80; }
}
h1, h2, th, dd, .name { overflow-wrap: anywhere; }
h3 { margin: 16px 0 6px; font-size: 14px; }
dl.particulars { display: grid; grid-template-columns: repeat(auto-fit, minmax(240px, 1fr));
  gap: 6px 24px; margin: 12px 0 0; }
.particulars div { display: flex; gap: 10px; }
.particulars dt { flex: 0 0 84px; color: var(--quiet); }
.particulars dd { margin: 0; }
.particulars small { color: var(--quiet); }
.warn { color: var(--warn); }
.figure.pass b, .verdict.pass b { color: var(--pass); }
.figure.warn b, .verdict.warn b { color: var(--warn); }
.figure.fail b, .verdict.fail b { color: var(--fail); }
.overview, .group { padding: 14px 16px; background: var(--card); border-radius: 8px;
  margin-bottom: 16px; }
.overview .legend { margin: 0; }
.overview svg.plane { max-width: 380px; margin: 0 auto; }
.group h2 { margin: 0; font-size: 18px; }
.counts { margin: 2px 0 10px; color: var(--quiet); }
.drawings { display: grid; grid-template-columns: 1.35fr 0.9fr 1.35fr; gap: 20px;
  align-items: center; margin-bottom: 12px; }
figure { margin: 0; min-width: 0; }
.drawings .plane text { font-size: 12px; }
figcaption { color: var(--quiet); font-size: 13px; }
.tables { display: grid; grid-template-columns: minmax(0, 5fr) minmax(0, 7fr); gap: 24px;
  align-items: start; margin-bottom: 16px; }
.tables > div:empty { display: none; }
.statistics .name { text-align: left; }
.wide { overflow-x: auto; }
.trials tbody { border-top: 1px solid var(--line); }
.trials tbody td { border-top: 0; vertical-align: top; white-space: nowrap; }
.trials tbody tr:first-child > * { padding-top: 7px; }
.trials tbody tr:last-child > * { padding-bottom: 7px; }
.trials .who, .trials .verdict { text-align: left; vertical-align: top; border-top: 0; }
.trials .who { padding-left: 0; }
.trials tbody .who { min-width: 9em; font-weight: 600; }
.trials .verdict { min-width: 8em; white-space: normal; }
.trials small { display: block; color: var(--quiet); font-weight: 400; font-size: 12px; }
.trials .under { text-align: left; }
.under .pair { display: inline-flex; width: 56px; height: 18px; vertical-align: middle; }
.under span + span { margin: 0; }
.under > span { margin-left: 8px; }
.judged { font-weight: 600; }
.judged.fail, .judged.warn { text-decoration: underline; text-underline-offset: 3px; }
.judged.fail { color: var(--fail); }
.judged.warn { color: var(--warn); }
.struck { opacity: 0.6; }
.struck td:not(.verdict) { text-decoration: line-through; }
.trials .none { text-align: left; text-decoration: none; }
.spectra { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 480px), 1fr));
  gap: 16px; }
.spectra table { font-size: 12px; }
.spectra td, .spectra tbody th { white-space: nowrap; }
.axis { stroke: var(--quiet); stroke-width: 1; }
.tolerance { fill: none; stroke: var(--measured); stroke-width: 1.2; stroke-dasharray: 5 3; }
circle.mark { stroke: var(--text); stroke-width: 0.8; stroke-dasharray: none; }
.key circle.mark { fill: var(--chart); }
circle.standard { stroke: var(--measured); stroke-width: 2.2; }
circle.out { stroke: var(--fail); stroke-width: 2; }
.course { stroke: var(--chart); stroke-width: 1.2; }
.limit { stroke: var(--fail); stroke-width: 1.1; stroke-dasharray: 6 3; }
.limit.warning { stroke: var(--warn); stroke-dasharray: 2 3; }
.point { fill: var(--measured); stroke: none; }
.point.pass { fill: var(--pass); }
.point.warn { fill: var(--warn); }
.point.fail { fill: none; stroke: var(--fail); stroke-width: 1.8; }
.values { margin: 4px 0 0; color: var(--quiet); }
@media screen and (max-width: 900px) {
  .drawings { grid-template-columns: 1fr 1fr; }
  .tables { grid-template-columns: 1fr; }
}
@media screen and (max-width: 640px) {
  body { padding: 12px; }
  h1 { font-size: 22px; }
  .drawings { grid-template-columns: 1fr; }
  .drawings .plane { max-width: 320px; }
  .drawings .plane text { font-size: 10px; }
  .figures { gap: 8px; }
  .figure { flex-basis: 104px; padding: 8px 10px; }
  .figure b { font-size: 20px; }
  .more { display: none; }
  .group, .overview { padding: 12px 10px; }
  .tables td, .tables th { padding-left: 4px; font-size: 12px; }
  .trials, .trials thead, .trials tbody { display: block; }
  .trials tr { display: contents; }
  .trials thead, .trials tbody { display: grid;
    grid-template-columns: minmax(0, 1.1fr) repeat(calc(var(--columns) - 1), minmax(0, 1fr)); }
  .trials thead .who, .trials thead .verdict { display: none; }
  .trials tbody .who, .trials tbody .verdict { grid-column: 1 / -1; padding-bottom: 0; }
  .trials .verdict small { display: inline; margin-left: 8px; }
  .trials td, .trials th { padding-left: 0; font-size: 11.5px; }
  .trials .who, .trials .verdict { font-size: 14px; }
  .under .pair { display: flex; width: 34px; height: 14px; }
  .under > span { margin-left: 0; }
  .trials .none { grid-column: 1 / -1; }
  .spectra td, .spectra th { padding-left: 5px; font-size: 11px; }
}
@media print {
  .group, .overview { border: 1px solid var(--line); padding: 8px; margin-bottom: 8px; }
  .overview { display: flex; align-items: center; gap: 16px; break-inside: avoid; }
  .overview svg.plane { flex: none; width: 170px; margin: 0; }
  .drawings { gap: 12px; margin-bottom: 4px; }
  .drawings, .tables tr, .trials tbody { break-inside: avoid; }
  .drawings svg { max-height: 150px; }
  svg.plane text { font-size: 13px; }
  .drawings .plane text { font-size: 16px; }
  .tables table { font-size: 9.5px; }
  .tables td, .tables th { padding-top: 1px; padding-bottom: 1px; }
  h2, h3, .counts { break-after: avoid; }
  .wide { overflow: visible; }
  h1 { font-size: 20px; }
  dl.particulars { gap: 2px 16px; }
  .figures { margin: 8px 0; }
  .figure { padding: 4px 8px; flex-basis: 74px; }
  .figure b { font-size: 15px; }
  figcaption, .trials small { font-size: 9px; }
  .trials { font-size: 9.5px; }
  .trials th, .trials td { padding-left: 4px; }
  .trials tbody .who, .trials .verdict { min-width: 0; }
  .under .pair { width: 36px; height: 12px; }
  .under > span { margin-left: 4px; }
  .spectra { display: block; }
  .spectra table { font-size: 9px; margin-bottom: 8px; break-inside: avoid; }
  footer { margin-top: 8px; font-size: 10px; }
}
)css";

}  // namespace cqtool
