#pragma once

namespace cqtool {

/// The additions of a report of records to the style sheet that all reports share.
inline constexpr const char* kRecordStyle = R"css(
:root { --pass: #1f7a45; --fail: #b3261e; }
@media screen and (prefers-color-scheme: dark) { :root { --pass: #6fcf97; --fail: #ff8a80; } }
.figure.pass b, td.pass { color: var(--pass); }
.figure.fail b, td.fail { color: var(--fail); }
td.pass, td.fail { font-weight: 600; }
.overview { padding: 14px 16px; background: var(--card); border-radius: 8px; margin-bottom: 16px; }
.overview .legend { margin: 0; }
.overview svg.plane { max-width: 460px; margin: 0 auto; }
.group { padding: 14px 16px; background: var(--card); border-radius: 8px; margin-bottom: 16px;
  break-inside: avoid; }
.drawings { display: grid; grid-template-columns: minmax(0, 480px) minmax(0, 340px); gap: 16px;
  align-items: center; justify-content: space-evenly; margin-bottom: 8px; }
.group .values { margin: 0 0 8px; }
.wide { overflow-x: auto; }
td .pair { width: 72px; height: 22px; }
.group tbody th { min-width: 6em; padding-left: 8px; overflow-wrap: anywhere; }
.group td:first-child, .group thead th:first-child { width: 1%; }
.group thead th:nth-child(2) { text-align: left; }
.axis { stroke: var(--quiet); stroke-width: 1; }
.tolerance { fill: none; stroke: var(--measured); stroke-width: 1.2; stroke-dasharray: 5 3; }
circle.mark { stroke: var(--text); stroke-width: 0.8; stroke-dasharray: none; }
.key circle.mark { fill: var(--chart); }
circle.standard { stroke: var(--measured); stroke-width: 2.2; }
circle.out { stroke: var(--fail); stroke-width: 2; }
.values { margin: 4px 0 0; color: var(--quiet); font-variant-numeric: tabular-nums; }
@media screen and (max-width: 640px) {
  body { padding: 12px; }
  .drawings { grid-template-columns: 1fr; }
  td .pair { width: 36px; }
  .group tbody th { min-width: 8.5em; }
  .group th, .group td { padding-left: 6px; }
}
@media print {
  .group, .overview { border: 1px solid var(--line); padding: 8px; margin-bottom: 8px; }
  .overview { display: flex; align-items: center; gap: 16px; }
  .overview svg.plane { flex: none; width: 170px; margin: 0; }
  .drawings { grid-template-columns: 3fr 2fr; margin: 0; }
  .drawings svg { max-height: 140px; }
  .wide { overflow: visible; }
  h1 { font-size: 20px; }
  h2, .group .values { margin: 0 0 4px; }
  .figures { margin: 8px 0; }
  .figure { padding: 4px 8px; }
  .figure b { font-size: 16px; }
  td .pair { height: 14px; }
  footer { margin-top: 8px; font-size: 11px; }
}
)css";

}  // namespace cqtool
