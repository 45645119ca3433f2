// The style sheet of the report: a light and a dark set of colours, then the page, then the pictures.
#pragma once

inline constexpr const char *reportStyle = R"css(
:root{color-scheme:light dark;--page:#f6f7f9;--card:#fff;--ink:#1b2130;--soft:#5b6475;--line:#e3e6ec;--grid:#e9ebf0;
--own:#0b6bcb;--own-ink:#fff;--own-area:rgba(11,107,203,.09);--u0:#3f9f8c;--u1:#d9952b;--u2:#cf4a3d;--raw:#8a93a5;--sm:#3a4356;
--hatch:rgba(207,74,61,.30);--bad:#b3372b;--good:#207a5f;
--h0:#3b6fd4;--h1:#b0568f;--h2:#2f8f62;--h3:#b5651d;--h4:#7456c8;--h5:#1b8a9c;--h6:#a3492f;--h7:#62749b}
@media (prefers-color-scheme:dark){:root{--page:#10141c;--card:#181d28;--ink:#e6e9f0;--soft:#9aa4b6;--line:#2a3140;--grid:#262d3b;
--own:#5aa9f8;--own-ink:#0c1420;--own-area:rgba(90,169,248,.13);--u0:#4fb39f;--u1:#e0a84a;--u2:#e8695b;--raw:#8b95a9;--sm:#c9d0de;
--hatch:rgba(232,105,91,.38);--bad:#f08a7d;--good:#63c9a6;
--h0:#7aa5f5;--h1:#df8ac0;--h2:#62c995;--h3:#e39a55;--h4:#a992f2;--h5:#55c0d1;--h6:#e08a6c;--h7:#9fb0d3}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0;background:var(--page);color:var(--ink);font:15px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Noto Sans",sans-serif;overflow-wrap:anywhere}
main,header,footer{max-width:1180px;margin:0 auto;padding:0 clamp(12px,3vw,32px)}
header{padding-top:clamp(20px,4vw,40px)}
h1{font-size:clamp(24px,3.2vw,32px);line-height:1.2;font-weight:650;letter-spacing:-.015em;margin:0}
h2{font-size:20px;font-weight:650;letter-spacing:-.01em;margin:0}
h3{font-size:15px;font-weight:600;margin:0}
p{margin:.3em 0}
.sub,.note,footer{color:var(--soft)}
.note{font-size:13px}
.skip{position:absolute;left:-9999px}
.skip:focus{left:12px;top:12px;background:var(--card);padding:8px 12px;border-radius:8px}
a{color:var(--own)}
nav ul{display:flex;flex-wrap:wrap;gap:4px 18px;list-style:none;padding:0;margin:12px 0 0}
:focus-visible{outline:2px solid var(--own);outline-offset:2px;border-radius:4px}
.states{display:flex;flex-wrap:wrap;gap:6px 8px;padding:0;margin:14px 0 0;list-style:none}
.states li{border:1px solid var(--line);background:var(--card);border-radius:999px;padding:2px 12px;font-size:13px}
.states .good::before,.states .bad::before{content:"";display:inline-block;width:8px;height:8px;border-radius:50%;margin-right:7px;background:var(--good)}
.states .bad::before{background:var(--u1)}
section{background:var(--card);border:1px solid var(--line);border-radius:14px;padding:clamp(14px,2.2vw,26px);margin:18px 0}
.facts{display:grid;grid-template-columns:repeat(auto-fill,minmax(88px,1fr));gap:10px 16px;margin:14px 0 4px}
.facts div{min-width:0}
dt{color:var(--soft);font-size:12px}
dd{margin:0;font-weight:600;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
figure{margin:14px 0 0}
svg{display:block;width:100%;height:auto}
.narrow{display:none}
@media (max-width:640px){.narrow{display:block}.wide{display:none}}
.legend{display:flex;flex-wrap:wrap;gap:4px 18px;list-style:none;padding:0;margin:8px 0 0;font-size:13px;color:var(--soft)}
.legend svg{display:inline-block;width:18px;height:12px;margin-right:6px;vertical-align:-1px}
details{margin-top:14px;border-top:1px solid var(--line);padding-top:10px}
summary{cursor:pointer;font-weight:600;font-size:14px}
.tables{display:grid;grid-template-columns:repeat(auto-fit,minmax(min(100%,380px),1fr));gap:8px 36px;align-items:start}
table{width:100%;border-collapse:collapse;font-variant-numeric:tabular-nums;font-size:14px;margin-top:10px}
caption{text-align:left;color:var(--soft);font-size:13px;padding-bottom:4px}
th,td{padding:5px 10px 5px 0;text-align:left;vertical-align:top;border-bottom:1px solid var(--line);overflow-wrap:anywhere}
th{font-weight:600;font-size:12px;color:var(--soft)}
tbody th{font-size:14px;color:var(--ink)}
td:last-child,th:last-child{padding-right:0}
.r{text-align:right;white-space:nowrap}
small{display:block;color:var(--soft);font-size:12px;font-weight:400}
.mac{font-family:ui-monospace,SFMono-Regular,Menlo,Consolas,monospace;font-size:12.5px}
.unknown{color:var(--soft);font-style:italic}
.tag{display:inline-block;border:1px solid currentColor;border-radius:4px;padding:0 5px;font-size:11px;font-weight:600;margin-left:6px;white-space:nowrap}
.tag.own{color:var(--own)}.tag.nol{color:var(--bad)}
.level{white-space:nowrap}
.level svg{display:inline-block;width:22px;height:14px;margin-right:7px;vertical-align:-2px}
.on{fill:var(--own)}.off{fill:var(--line)}
.vaps{display:grid;grid-template-columns:repeat(auto-fit,minmax(min(100%,400px),1fr));gap:22px 40px;margin-top:14px}
footer{font-size:13px;padding-top:4px;padding-bottom:40px}
svg text{fill:var(--soft);font-family:inherit;font-variant-numeric:tabular-nums}
svg .t{font-weight:600}
svg .y{text-anchor:end}
svg .x,svg .v,svg .n,svg .none{text-anchor:middle}
svg .x{fill:var(--ink)}svg .x.d{fill:var(--soft);text-decoration:line-through}svg .x.o{fill:var(--own-ink);font-weight:700}svg .x.nol{fill:var(--bad);font-weight:700;font-size:.8em}
svg .v{font-size:.88em}
svg .n{font-weight:600;paint-order:stroke;stroke:var(--card);stroke-width:3px;stroke-linejoin:round}
svg .l{font-weight:400}
svg .dev{fill:var(--own);font-weight:600;text-anchor:middle}
svg .none{font-style:italic}
.g{stroke:var(--grid)}.own{fill:var(--own-area)}.ownbar,.pill{fill:var(--own)}.hatch{fill:var(--hatch)}.hit{fill:transparent}
svg .open,.legend .open{fill:none;stroke:var(--raw);stroke-dasharray:3 3;stroke-opacity:.75}
.u0{fill:var(--u0)}.u1{fill:var(--u1)}.u2{fill:var(--u2)}
.raw{fill:var(--card);stroke:var(--raw);stroke-width:1.5}.sm{fill:var(--sm)}
.h{fill-opacity:.16;stroke-width:1.6;stroke-linejoin:round}
.h0{fill:var(--h0);stroke:var(--h0)}.h1{fill:var(--h1);stroke:var(--h1)}.h2{fill:var(--h2);stroke:var(--h2)}.h3{fill:var(--h3);stroke:var(--h3)}
.h4{fill:var(--h4);stroke:var(--h4)}.h5{fill:var(--h5);stroke:var(--h5)}.h6{fill:var(--h6);stroke:var(--h6)}.h7{fill:var(--h7);stroke:var(--h7)}
svg .n0{fill:var(--h0)}svg .n1{fill:var(--h1)}svg .n2{fill:var(--h2)}svg .n3{fill:var(--h3)}svg .n4{fill:var(--h4)}svg .n5{fill:var(--h5)}svg .n6{fill:var(--h6)}svg .n7{fill:var(--h7)}
@media print{body{background:#fff}section{break-inside:avoid}}
)css";
