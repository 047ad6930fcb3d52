#include "dialects/people_page.h"

namespace dialects {
namespace {

std::string HtmlText(std::string_view text) {
  std::string html;
  for (const char c : text) {
    if (c == '&') {
      html += "&amp;";
    } else if (c == '<') {
      html += "&lt;";
    } else if (c == '>') {
      html += "&gt;";
    } else if (c == '\n') {
      html += "<br>\n";
    } else if (static_cast<unsigned char>(c) >= ' ' || c == '\t') {
      // A control character is none of HTML's.
      html += c;
    }
  }
  return html;
}

// The further lines of a value stand under its first one.
std::string Indented(std::string_view text) {
  std::string indented;
  for (const char c : text) {
    indented += c;
    if (c == '\n') indented += "  ";
  }
  return indented;
}

}  // namespace

std::string WithLineFeeds(std::string_view text) {
  std::string lines;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      lines += text[i];
    } else if (i + 1 == text.size() || text[i + 1] != '\n') {
      lines += '\n';
    }
  }
  return lines;
}

std::string PlainItem(const PageItem& item) {
  std::string plain;
  for (const auto& [caption, value] : item.entries) {
    if (!value.empty()) plain += caption + ": " + Indented(WithLineFeeds(value)) + "\n";
  }
  const std::string text = WithLineFeeds(item.text);
  if (!text.empty()) plain += "\n" + text + (text.ends_with('\n') ? "" : "\n");
  return plain + "\n";
}

std::string HtmlItem(const PageItem& item) {
  std::string html = "<article>\n<dl>\n";
  for (const auto& [caption, value] : item.entries) {
    if (value.empty()) continue;
    html += "<dt>" + HtmlText(caption) + "</dt><dd>" + HtmlText(WithLineFeeds(value)) + "</dd>\n";
  }
  html += "</dl>\n";
  if (!item.text.empty()) html += "<p>" + HtmlText(WithLineFeeds(item.text)) + "</p>\n";
  return html + "</article>\n";
}

std::string HtmlPageBegin(std::string_view title) {
  return "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>" + HtmlText(title) +
         "</title>\n</head>\n<body>\n";
}

std::string HtmlPageEnd() { return "</body>\n</html>\n"; }

}  // namespace dialects
