#include "PageFrame.h"

#include "Text.h"

namespace vorna::backend {

namespace {

// Written to be read on a laptop screen beside a bug tracker: a quiet palette, one accent
// colour, tabular figures in tables, and nothing that moves.
constexpr std::string_view kStyle = R"css(
:root { --ink: #1d2330; --muted: #5f6878; --line: #e2e5eb; --page: #f4f5f8; --card: #fff;
        --accent: #1144f1; --accent-soft: #e8eefe; }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink);
       font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Inter", sans-serif; }
a { color: var(--accent); text-decoration: none; }
a:hover { text-decoration: underline; }
.bar { background: var(--card); border-bottom: 1px solid var(--line); }
.bar nav { max-width: 1180px; margin: 0 auto; padding: 0 24px; height: 56px; display: flex;
           align-items: center; gap: 24px; }
.bar .brand { font-weight: 700; font-size: 17px; color: var(--ink); letter-spacing: .01em; }
.bar .brand span { color: var(--accent); }
.bar a.current { color: var(--ink); font-weight: 600; }
.bar .spacer { flex: 1; }
main { max-width: 1180px; margin: 0 auto; padding: 24px; }
h1 { font-size: 24px; line-height: 1.3; margin: 0 0 4px; font-weight: 650; }
h2 { font-size: 17px; margin: 0 0 12px; font-weight: 650; }
h3 { font-size: 14px; margin: 16px 0 6px; color: var(--muted); font-weight: 600;
     text-transform: uppercase; letter-spacing: .04em; }
.muted { color: var(--muted); }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 10px;
        padding: 20px 24px; margin-bottom: 20px; }
.notice { background: var(--card); border: 1px dashed var(--line); border-radius: 10px;
          padding: 32px; text-align: center; color: var(--muted); }

form.filter { display: flex; flex-wrap: wrap; gap: 10px; align-items: center; margin: 16px 0; }
form.filter select, form.filter input { font: inherit; padding: 7px 10px; border-radius: 7px;
        border: 1px solid #cdd2db; background: #fff; color: var(--ink); }
form.filter input[type=search] { flex: 1 1 280px; min-width: 200px; }
button { font: inherit; font-weight: 600; padding: 7px 16px; border-radius: 7px;
         border: 1px solid var(--accent); background: var(--accent); color: #fff; cursor: pointer; }
.summary { display: flex; justify-content: space-between; align-items: baseline; gap: 16px;
           color: var(--muted); margin: 0 0 8px; }

table.reports { width: 100%; border-collapse: separate; border-spacing: 0; background: var(--card);
                border: 1px solid var(--line); border-radius: 10px; overflow: hidden;
                table-layout: fixed; }
table.reports th { text-align: left; font-size: 12px; font-weight: 600; color: var(--muted);
                   text-transform: uppercase; letter-spacing: .04em; padding: 10px 14px;
                   background: #fafbfc; border-bottom: 1px solid var(--line); }
table.reports td { padding: 10px 14px; border-bottom: 1px solid var(--line);
                   vertical-align: middle; overflow: hidden; text-overflow: ellipsis;
                   white-space: nowrap; }
table.reports tr:last-child td { border-bottom: 0; }
table.reports tbody tr:hover td { background: #f8f9fc; }
table.reports col.shot { width: 76px; } table.reports col.app { width: 20%; }
table.reports col.mail { width: 21%; } table.reports col.time { width: 172px; }
td.shot a { display: block; width: 48px; height: 72px; }
.thumb { width: 48px; height: 72px; object-fit: cover; object-position: top;
         border-radius: 6px; border: 1px solid var(--line); background: #eef0f4; display: block; }
.thumb.none { display: flex; align-items: center; justify-content: center; font-size: 10px;
              color: #8a92a0; text-align: center; line-height: 1.2; }
td .title { font-weight: 600; color: var(--ink); }
td .id { color: var(--muted); font-size: 13px; margin-right: 6px; font-variant-numeric: tabular-nums; }
td.time { font-variant-numeric: tabular-nums; color: var(--muted); font-size: 14px; }
.pager { display: flex; justify-content: space-between; align-items: center; margin: 14px 0; }
.pager .off { color: #b3b9c4; }

.report-head { display: flex; justify-content: space-between; gap: 24px; align-items: flex-start;
               margin-bottom: 18px; }
.report-head .meta { color: var(--muted); margin: 4px 0 0; }
.chips { display: flex; gap: 8px; flex-wrap: wrap; margin-top: 10px; }
.chip { background: var(--accent-soft); color: #0b2fa6; border-radius: 999px; padding: 2px 10px;
        font-size: 13px; }
.layout { display: flex; flex-wrap: wrap; gap: 20px; align-items: flex-start; }
.layout .facts { flex: 1 1 460px; min-width: 0; }
.layout figure.screenshot { flex: 0 1 auto; margin: 0; max-width: 100%; }
figure.screenshot img { display: block; max-width: 100%; height: auto; border-radius: 10px;
                        border: 1px solid var(--line); background: #fff; }
figure.screenshot figcaption { color: var(--muted); font-size: 13px; margin-top: 6px; }
.description { white-space: pre-wrap; overflow-wrap: anywhere; font-size: 16px; margin: 0; }
dl.facts { display: grid; grid-template-columns: minmax(120px, max-content) 1fr; gap: 6px 20px;
           margin: 0; }
dl.facts dt { color: var(--muted); }
dl.facts dd { margin: 0; overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }
.groups { display: grid; grid-template-columns: repeat(auto-fit, minmax(420px, 1fr)); gap: 20px;
          margin-bottom: 20px; }
.groups .card { margin: 0; }
ul.files { list-style: none; padding: 0; margin: 0; }
ul.files li { padding: 6px 0; border-bottom: 1px solid var(--line); }
ul.files li:last-child { border-bottom: 0; }
.charts { display: grid; grid-template-columns: repeat(auto-fit, minmax(480px, 1fr)); gap: 20px; }
figure.chart { margin: 0; }
figure.chart figcaption { margin-bottom: 4px; }
figure.chart figcaption b { font-weight: 600; }
figure.chart .note { color: var(--muted); font-size: 13px; }
svg.chart { display: block; width: 100%; height: auto; }
svg.chart text { font: 11px system-ui, sans-serif; fill: #5f6878; }
svg.chart text.inside { fill: #fff; font-weight: 600; }
svg.chart .axis line { stroke: #9aa2b0; stroke-width: 1; }
svg.chart line.grid { stroke: #e9ecf1; }
svg.chart .value { fill: none; stroke: var(--accent); stroke-width: 1.8; stroke-linejoin: round; }
svg.chart circle.value { fill: var(--accent); }
svg.chart rect.track { fill: #f0f2f5; }
ul.legend { list-style: none; display: flex; flex-wrap: wrap; gap: 4px 14px; padding: 0;
            margin: 2px 0 0 66px; font-size: 13px; color: var(--muted); }
.swatch { display: inline-block; width: 10px; height: 10px; border-radius: 2px;
          margin-right: 6px; vertical-align: baseline; }
table.plain { border-collapse: collapse; width: 100%; font-size: 14px; }
table.plain th, table.plain td { text-align: left; padding: 4px 12px 4px 0;
        border-bottom: 1px solid var(--line); font-variant-numeric: tabular-nums; }
table.plain th { color: var(--muted); font-weight: 600; }
details > summary { cursor: pointer; color: var(--accent); font-weight: 600; }
pre.json { background: #f7f8fa; border: 1px solid var(--line); border-radius: 8px; padding: 14px;
           overflow: auto; max-height: 640px; font: 12.5px/1.45 ui-monospace, "DejaVu Sans Mono",
           monospace; white-space: pre-wrap; overflow-wrap: anywhere; }
)css";

}  // namespace

std::string PageFrame::escape(std::string_view text) {
    return Text::htmlEscape(text);
}

std::string PageFrame::document(std::string_view title, Section section, std::string_view body) {
    const auto link = [section](Section target, const char* href, const char* label) {
        return std::string("<a href=\"") + href + "\"" +
               (section == target ? " class=\"current\" aria-current=\"page\"" : "") + ">" + label +
               "</a>";
    };
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
        // The same rules the server's header sets, kept in the document too so that a saved
        // copy of a page runs nothing either.
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "img-src 'self' data:; style-src 'unsafe-inline'; form-action 'self'; base-uri 'none'\">"
        "<meta name=\"referrer\" content=\"no-referrer\">"
        "<link rel=\"icon\" href=\"data:,\"><title>";
    html += escape(title);
    html += "</title><style>";
    html += kStyle;
    html +=
        "</style></head><body><header class=\"bar\"><nav><a class=\"brand\" href=\"/\">"
        "<span>Vorna</span> reports</a>";
    html += link(Section::List, "/reports", "All reports");
    html += "<span class=\"spacer\"></span>";
    html += "<a href=\"/help\">How to report better bugs</a>";
    html += "</nav></header><main>";
    html += body;
    html += "</main></body></html>\n";
    return html;
}

}  // namespace vorna::backend
