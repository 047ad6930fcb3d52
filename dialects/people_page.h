// Texts for people: captions with their values, and a text of any length below them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace dialects {

struct PageEntry {
  std::string caption;
  std::string value;  // an entry without one is left out
};

struct PageItem {
  std::vector<PageEntry> entries;
  std::string text;
};

// Plain text: "Caption: value" lines, an empty line, the text; and an empty line to the next item. Lines end
// with LF.
std::string PlainItem(const PageItem& item);

// A piece of an HTML page that HtmlPageBegin and HtmlPageEnd stand around.
std::string HtmlItem(const PageItem& item);
std::string HtmlPageBegin(std::string_view title);
std::string HtmlPageEnd();

// A text without CR: each line break is one LF.
std::string WithLineFeeds(std::string_view text);

}  // namespace dialects
