#pragma once

namespace cqtool {

/// The style sheet of a report: light or dark as on the reader's system, swatches printed in their
/// colours, no patch split across printed pages.
inline constexpr const char* kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --page: #f4f4f2; --card: #ffffff; --text: #22242a; --quiet: #666a73; --line: #dcdcd8;
  --measured: #1d4fa8; --trial: #c2571a; --chart: #b9bcc4;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --page: #17181b; --card: #212327; --text: #e6e7ea; --quiet: #9da1aa; --line: #383b41;
    --measured: #7fb0ff; --trial: #ffa066; --chart: #5d626c;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 24px; max-width: 1180px; background: var(--page); color: var(--text);
  font: 15px/1.45 system-ui, "Segoe UI", Roboto, "Helvetica Neue", sans-serif;
}
h1 { margin: 0; font-size: 28px; }
header p, footer p { color: var(--quiet); margin: 4px 0; }
.figures { display: flex; flex-wrap: wrap; gap: 12px; margin: 20px 0; }
.figure { flex: 1 1 150px; padding: 12px 16px; background: var(--card); border-radius: 8px; }
.figure b { display: block; font-size: 24px; font-variant-numeric: tabular-nums; }
.figure span { color: var(--quiet); font-size: 13px; }
.chart {
  display: grid; grid-template-columns: repeat(6, 1fr); gap: 10px; padding: 14px; margin: 14px 0;
  background: #1b1b1b; border-radius: 8px;
}
.chart .pair { height: 92px; }
.pair { display: flex; height: 44px; border-radius: 4px; overflow: hidden; }
.swatch { flex: 1; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
.caption { display: flex; margin-top: 4px; color: var(--quiet); font-size: 12px; }
.caption span { flex: 1; }
.caption span:last-child { text-align: right; }
sub { line-height: 0; }
main { display: grid; grid-template-columns: repeat(auto-fill, minmax(320px, 1fr)); gap: 16px; }
article { padding: 14px 16px; background: var(--card); border-radius: 8px; break-inside: avoid; }
h2 { margin: 0 0 10px; font-size: 16px; font-weight: 600; }
h2 span { display: inline-block; min-width: 1.8em; color: var(--quiet); font-weight: 400; }
svg { display: block; width: 100%; }
article svg { margin: 10px 0; }
svg text { fill: var(--quiet); font-size: 9px; }
.grid { stroke: var(--line); stroke-width: 1; }
polyline { fill: none; stroke-linejoin: round; stroke-linecap: round; }
.reference { stroke: var(--chart); stroke-width: 5; }
.standard { stroke: var(--measured); stroke-width: 1.6; }
.trial { stroke: var(--trial); stroke-width: 1.2; stroke-dasharray: 4 3; }
.legend { color: var(--quiet); font-size: 13px; }
.key { display: inline-flex; align-items: center; gap: 6px; margin-right: 20px; }
.key svg { width: 28px; height: 12px; flex: none; }
table { width: 100%; border-collapse: collapse; font-variant-numeric: tabular-nums; font-size: 13px; }
th, td { padding: 3px 0 3px 8px; text-align: right; border-top: 1px solid var(--line); }
thead th { border-top: 0; color: var(--quiet); font-weight: 400; }
tbody th { padding-left: 0; text-align: left; font-weight: 400; }
.difference { font-weight: 600; }
footer { margin-top: 20px; font-size: 13px; }
@media print {
  body { padding: 0; background: none; max-width: none; font-size: 11px; }
  main { grid-template-columns: repeat(3, minmax(0, 1fr)); gap: 8px; }
  table, .caption, .legend, .figure span { font-size: 10px; }
  th, td { padding-left: 4px; }
  .figure { flex-basis: 100px; }
  article, .figure { border: 1px solid var(--line); padding: 8px; }
  .chart { print-color-adjust: exact; -webkit-print-color-adjust: exact; break-inside: avoid; }
  .chart .pair { height: 56px; }
}
)css";

}  // namespace cqtool
