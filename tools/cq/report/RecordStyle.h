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
.overview svg.plane { max-width: 460px; margin: 0 auto; }
.group { padding: 14px 16px; background: var(--card); border-radius: 8px; margin-bottom: 16px;
  break-inside: avoid; }
.drawings { display: grid; grid-template-columns: minmax(0, 480px) minmax(0, 340px); gap: 16px;
  align-items: center; justify-content: space-evenly; margin-bottom: 8px; }
.wide { overflow-x: auto; }
td .pair { width: 72px; height: 22px; }
.group tbody th { white-space: nowrap; padding-left: 8px; }
.group thead th:nth-child(2) { text-align: left; }
.axis { stroke: var(--quiet); stroke-width: 1; }
.tolerance { fill: none; stroke: var(--measured); stroke-width: 1.2; stroke-dasharray: 5 3; }
circle.mark { stroke: var(--text); stroke-width: 0.8; stroke-dasharray: none; }
circle.standard { stroke: var(--measured); stroke-width: 2.2; }
circle.out { stroke: var(--fail); stroke-width: 2; }
.values { margin: 4px 0 0; color: var(--quiet); font-variant-numeric: tabular-nums; }
@media (max-width: 640px) { .drawings { grid-template-columns: 1fr; } }
@media print { .group, .overview { border: 1px solid var(--line); padding: 8px; }
  .overview svg.plane { max-width: 300px; } }
)css";

}  // namespace cqtool
