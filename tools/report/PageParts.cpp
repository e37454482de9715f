#include "tools/report/PageParts.h"

namespace tool {

constinit const std::string_view kPageStyle = R"css(
:root{color-scheme:light dark;--back:#fff;--card:#f4f6f9;--text:#1c2330;--soft:#566072;--line:#d5dae2;--link:#0b57b0;--bar:#3d7ec9;--gone:#7f8898}
@media(prefers-color-scheme:dark){:root{--back:#14181f;--card:#1d242e;--text:#e6e9ef;--soft:#a8b1c0;--line:#3a4352;--link:#8ab8f5;--bar:#6aa5e8;--gone:#8791a1}}
*{box-sizing:border-box}
body{margin:0 auto;max-width:62rem;padding:1rem;background:var(--back);color:var(--text);font:1rem/1.5 system-ui,sans-serif;overflow-wrap:anywhere}
a{color:var(--link)}
a:focus-visible,input:focus-visible{outline:3px solid var(--link);outline-offset:2px}
.skip{position:absolute;left:-99rem}.skip:focus{position:static}
h1{font-size:1.7rem;line-height:1.25;margin:.5rem 0}
h2{font-size:1.3rem;margin:2.5rem 0 .5rem}
h3{font-size:1.1rem;margin:0}
h3 small{color:var(--soft);font-weight:400}
p{margin:.25rem 0}
.t,caption,figcaption,dt,.x td:first-child{color:var(--soft);font-size:.875rem}
nav ul{display:flex;flex-wrap:wrap;gap:.25rem 1.25rem;margin:.75rem 0;padding:0;list-style:none}
dl{display:grid;grid-template-columns:repeat(auto-fill,minmax(9rem,1fr));gap:.5rem 1rem;margin:.75rem 0}
dd{margin:0;font-variant-numeric:tabular-nums}
section{background:var(--card);border-radius:.5rem;margin:1rem 0;padding:.9rem 1rem;scroll-margin-top:4.5rem}
table{border-collapse:collapse;width:100%;margin:.75rem 0;font-variant-numeric:tabular-nums}
caption{text-align:start;padding-bottom:.25rem}
th,td{text-align:start;vertical-align:top;padding:.2rem .75rem .2rem 0;border-bottom:1px solid var(--line)}
th{font-size:.875rem;white-space:nowrap}
.v td:nth-child(n+3),.x td:nth-child(n+4),.n{text-align:end;white-space:nowrap}
td[dir]{text-align:left}.x td:nth-child(2){min-width:7rem}
.v td:last-child{width:22%;min-width:3rem;padding-right:0}
.v svg{display:block;width:100%;height:.8em;margin-top:.35em}
rect{height:100%;fill:var(--bar)}.m td{color:var(--soft)}
figure{margin:.75rem 0}
.h{display:block;width:100%;height:6rem;border-bottom:1px solid var(--soft)}.h path{fill:var(--bar)}
figcaption{display:flex;justify-content:space-between;gap:1rem}
pre{white-space:pre-wrap;font:.875rem/1.45 ui-monospace,monospace;margin:.5rem 0}
#s{position:sticky;top:0;background:var(--back);padding:.6rem 0;border-bottom:1px solid var(--line);display:flex;flex-wrap:wrap;gap:.5rem;align-items:center}
#s[hidden]{display:none}
input{flex:1;min-width:8rem;font:inherit;padding:.35rem .6rem;color:inherit;background:var(--card);border:1px solid var(--soft);border-radius:.35rem}
i{color:var(--soft)}
@media(max-width:34rem){body{padding:.6rem}th,td{padding-right:.4rem}.x td:nth-child(n+4),.x th:nth-child(n+4){display:none}.v td:last-child{display:none}dl{grid-template-columns:repeat(2,1fr)}}
@media print{:root{color-scheme:light;--back:#fff;--card:#fff;--text:#000;--soft:#444;--line:#bbb;--link:#000;--bar:#555;--gone:#999}body{max-width:none;padding:0;font-size:10pt}#s,nav,.skip{display:none!important}section{border:1px solid var(--line);break-inside:avoid-page}rect,.h path{print-color-adjust:exact;-webkit-print-color-adjust:exact}a{text-decoration:none}h2,h3{break-after:avoid}}
)css";

constinit const std::string_view kPageScript = R"js(
"use strict";
const box=document.getElementById("s"),field=document.getElementById("q"),count=document.getElementById("c");
const sections=[...document.querySelectorAll("main section[id]")],rows=[...document.querySelectorAll(".x tbody tr")];
let texts=null;
function search(){
  texts??=sections.map(one=>one.textContent.toLowerCase());
  const words=field.value.toLowerCase().split(/\s+/).filter(word=>word);
  let found=0;
  sections.forEach((one,i)=>{
    const fits=words.every(word=>texts[i].includes(word));
    one.hidden=!fits;
    if(rows[i])rows[i].hidden=!fits;
    found+=fits;
  });
  count.textContent=words.length?found+" of "+sections.length+" variables":"";
}
if(sections.length){box.hidden=false;field.addEventListener("input",search);if(field.value)search();}
)js";

constinit const std::string_view kPagePolicy =
    "default-src 'none'; style-src 'sha256-ETkLwOQ1ZX6bSxJYE5zPj3qwBRSasxRQJ9eFI/Vq3cY='; "
    "script-src 'sha256-gkr3keeng6vCiACiEvOe1sKLOwW13SUFCT5Dwfzf0rs='; base-uri 'none'; form-action 'none'";

}  // namespace tool
