// The text of a page: HTML that is well-formed as XML too, complete in one file.
#ifndef REPORT_PAGE_H
#define REPORT_PAGE_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace telvane {

/// A picture inside the page.
struct Picture {
    std::string type;          ///< "image/png" or "image/jpeg"
    std::string bytes;         ///< of the file
    int width = 0, height = 0; ///< pixels
};

/// "data:image/png;base64,..."
std::string DataUri(const Picture& picture);

/// Collects the parts of a page. Texts are plain, of any bytes, and are escaped here.
class Page {
public:
    explicit Page(std::string_view title);

    /// What the page says first, why, and what to do; either may be empty.
    /// \param kind  "good", "fair" or "bad"
    void Verdict(std::string_view kind, std::string_view heading, std::string_view evidence,
                 std::string_view cure);
    void Section(std::string_view heading);
    void Paragraph(std::string_view text);
    /// A paragraph that stands out, by a coloured edge: "good", "fair" or "bad".
    void Note(std::string_view kind, std::string_view text);
    void List(const std::vector<std::string>& items);
    /// Names and what there is to each.
    void Facts(const std::vector<std::pair<std::string, std::string>>& facts);
    /// A table; the first row holds the headings, the first column what a row is about.
    void Table(const std::vector<std::vector<std::string>>& rows);
    /// A line to copy.
    void Command(std::string_view line);
    /// \param alternative  what the picture shows, for those who do not see it
    void Figure(const Picture& picture, std::string_view alternative, std::string_view caption);
    /// \param svg, legend  elements that stand in the page as they are
    void Drawing(std::string_view svg, std::string_view legend);
    /// What stands between these two calls lies side by side where there is room.
    void BeginRow();
    void EndRow();

    /// How many pictures the page shows so far.
    int Figures() const { return figures; }

    /// The whole file.
    std::string Html() const;

private:
    std::string title, body;
    int figures = 0;
};

} // namespace telvane

#endif
