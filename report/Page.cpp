// Composing of the page.
#include <report/Page.h>

#include <tools/Markup.h>
#include <tools/Text.h>

namespace telvane {

namespace {

// A phone shows the verdict, the facts and the picture on its first screen.
const char style[] = R"(
:root { color-scheme: light dark; }
body { max-width: 62rem; margin: 0 auto; padding: .75rem; font: 1rem/1.4 system-ui, sans-serif;
       overflow-wrap: anywhere; }
h1 { font-size: 1.3rem; line-height: 1.25; margin: 0 0 .25rem; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; border-bottom: 1px solid GrayText; }
p { margin: 0 0 .75rem; max-width: 44rem; }
ul { margin: 0 0 .75rem; padding-left: 1.2rem; max-width: 44rem; }
figure { margin: 0 0 1.25rem; break-inside: avoid; }
figcaption { font-size: .9rem; max-width: 44rem; }
img, figure > svg { display: block; max-width: 100%; height: auto; margin: 0 0 .4rem; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .1rem .75rem; margin: 0 0 .75rem;
     font-size: .95rem; }
dt { font-weight: 600; }
dd { margin: 0; }
table { border-collapse: collapse; margin: 0 0 .75rem; }
th, td { text-align: left; vertical-align: top; padding: .15rem .75rem .15rem 0; font-weight: normal;
         overflow-wrap: break-word; }
thead th { font-weight: 600; border-bottom: 1px solid GrayText; }
pre { white-space: pre-wrap; padding: .5rem .75rem; border: 1px solid GrayText; border-radius: .3rem;
      font: .95rem/1.5 ui-monospace, monospace; user-select: all; }
.row { display: grid; gap: 0 1.5rem; align-items: start;
       grid-template-columns: repeat(auto-fit, minmax(min(100%, 18rem), 1fr)); }
.marks-legend { list-style: none; padding: 0; display: flex; flex-wrap: wrap; gap: .1rem 1rem; margin: 0;
                font-size: .9rem; }
.marks-legend li { display: flex; gap: .4rem; align-items: center; }
.marks-legend svg { flex: none; }
.good, .fair, .bad { padding: .5rem .75rem; border-left: .4rem solid; margin: 0 0 .75rem; }
.good { border-color: #2a9d4a; background: #2a9d4a20; }
.fair { border-color: #d99a00; background: #d99a0020; }
.bad { border-color: #d0342c; background: #d0342c20; }
.verdict p { margin: 0; }
.evidence { font-size: .9rem; }
.cure { font-weight: 600; }
@media print {
  body { max-width: none; padding: 0; }
  h2 { break-after: avoid; }
  img, figure > svg { max-height: 22cm; width: auto; }
}
)";

std::string Shown(std::string_view text) { return Escaped(Printable(text)); }

} // namespace

std::string DataUri(const Picture& picture)
{
    return "data:" + picture.type + ";base64," + Base64(picture.bytes);
}

Page::Page(std::string_view t) : title(Shown(t)) {}

void Page::Verdict(std::string_view kind, std::string_view heading, std::string_view evidence,
                   std::string_view cure)
{
    body += "<div class=\"verdict " + Shown(kind) + "\">\n<h1>" + Shown(heading) + "</h1>\n";
    if (!evidence.empty()) body += "<p class=\"evidence\">" + Shown(evidence) + "</p>\n";
    if (!cure.empty()) body += "<p class=\"cure\">" + Shown(cure) + "</p>\n";
    body += "</div>\n";
}

void Page::Section(std::string_view heading) { body += "<h2>" + Shown(heading) + "</h2>\n"; }

void Page::Paragraph(std::string_view text) { body += "<p>" + Shown(text) + "</p>\n"; }

void Page::Note(std::string_view kind, std::string_view text)
{
    body += "<p class=\"" + Shown(kind) + "\">" + Shown(text) + "</p>\n";
}

void Page::List(const std::vector<std::string>& items)
{
    if (items.empty()) return;
    body += "<ul>\n";
    for (const std::string& item : items) body += "<li>" + Shown(item) + "</li>\n";
    body += "</ul>\n";
}

void Page::Facts(const std::vector<std::pair<std::string, std::string>>& facts)
{
    body += "<dl>\n";
    for (const auto& [name, value] : facts)
        body += "<dt>" + Shown(name) + "</dt><dd>" + Shown(value) + "</dd>\n";
    body += "</dl>\n";
}

void Page::Table(const std::vector<std::vector<std::string>>& rows)
{
    const auto row = [](const std::vector<std::string>& cells, bool head) {
        std::string text = "<tr>";
        for (std::size_t i = 0; i < cells.size(); i++) {
            const std::string name = head || i == 0 ? "th" : "td";
            const char* const scope = head ? " scope=\"col\"" : i == 0 ? " scope=\"row\"" : "";
            text.append("<").append(name).append(scope).append(">").append(Shown(cells[i]));
            text.append("</").append(name).append(">");
        }
        return text + "</tr>\n";
    };
    body += "<table>\n<thead>\n" + row(rows.front(), true) + "</thead>\n<tbody>\n";
    for (std::size_t i = 1; i < rows.size(); i++) body += row(rows[i], false);
    body += "</tbody>\n</table>\n";
}

void Page::Command(std::string_view line) { body += "<pre>" + Shown(line) + "</pre>\n"; }

void Page::Figure(const Picture& picture, std::string_view alternative, std::string_view caption)
{
    body += "<figure>\n<img width=\"" + std::to_string(picture.width) + "\" height=\"" +
            std::to_string(picture.height) + "\" alt=\"" + Shown(alternative) + "\" src=\"" +
            DataUri(picture) + "\"/>\n";
    if (!caption.empty()) body += "<figcaption>" + Shown(caption) + "</figcaption>\n";
    body += "</figure>\n";
    figures++;
}

void Page::Drawing(std::string_view svg, std::string_view legend)
{
    body.append("<figure>\n").append(svg).append("<figcaption>\n").append(legend);
    body += "</figcaption>\n</figure>\n";
    figures++;
}

void Page::BeginRow() { body += "<div class=\"row\">\n"; }

void Page::EndRow() { body += "</div>\n"; }

std::string Page::Html() const
{
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>" +
           title + "</title>\n<style>" + style + "</style>\n</head>\n<body>\n" + body + "</body>\n</html>\n";
}

} // namespace telvane
