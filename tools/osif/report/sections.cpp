// Contacts, tasks, notes, messages and settings: lists of what there is. The calendar and the change logs have sources of
// their own (calendar_section.cpp, changes_section.cpp).
#include "tools/osif/report/sections.h"

#include <string_view>

#include "tools/osif/report/html_text.h"
#include "tools/osif/report/name_order.h"
#include "tools/osif/report/page_parts.h"

namespace command {
namespace {

using dialects::CalendarLook;
using dialects::PageEntry;

std::string NameLine(std::string_view name, std::string_view without) {
  if (name.empty()) return "<p class=\"name unnamed\">" + HtmlText(without) + "</p>";
  return "<p class=\"name\">" + HtmlText(name) + "</p>";
}

// The most contacts whose fields are pairs of elements. A browser takes a second for the elements of 20,000 such contacts,
// and a third of it where the fields of each are the lines of one.
constexpr size_t kMostInPairs = 5000;

std::string Lines(const std::vector<PageEntry>& entries) {
  std::string text;
  for (const auto& [caption, value] : entries) {
    if (!value.empty()) text += (text.empty() ? "" : "\n") + caption + ": " + value;
  }
  return text.empty() ? text : "<p class=\"text\">" + HtmlText(text) + "</p>";
}

std::string ContactItem(const ReportedContact& contact, bool in_pairs) {
  return "<li>" + NameLine(contact.name, "(no name)") +
         (in_pairs ? Values(contact.entries) : Lines(contact.entries)) + "</li>\n";
}

std::string LetterGroup(const std::string& letter, const std::vector<std::string>& items) {
  if (items.empty()) return {};
  return "<div class=\"letter\">\n<h3>" + HtmlText(letter) + "</h3>\n" + Portions(items) +
         "</div>\n";
}

// What a browser without scripts has no use for is shown by the script.
constexpr std::string_view kSearch =
    "<div class=\"controls\" role=\"search\" id=\"search\" hidden>\n"
    "<label for=\"wanted\">Search contacts</label>\n"
    "<input type=\"search\" id=\"wanted\" autocomplete=\"off\" spellcheck=\"false\" "
    "aria-describedby=\"found\">\n"
    "<p id=\"found\" role=\"status\"></p>\n</div>\n";

std::string TaskItem(const CalendarLook& task) {
  std::vector<PageEntry> entries;
  for (const auto& [name, value] : task.values) {
    if (name != "Task") entries.push_back({name, value});
  }
  return std::string("<li") + (task.is_complete ? " class=\"complete\"" : "") + ">" +
         NameLine(task.summary, "(no name)") +
         (task.is_complete ? "<p class=\"mark\">Done</p>" : "") + Values(entries) + "</li>\n";
}

std::string NoteItem(const ReportedNote& note) {
  return "<li>" + NameLine(note.name, "(no name)") + "<p class=\"text\">" + HtmlText(note.text) +
         "</p></li>\n";
}

// Messages may be long: each opens when it is asked to.
std::string MessageItem(const ReportedMessage& message) {
  const std::string subject = message.subject.empty() ? "(no subject)" : message.subject;
  const std::string text = message.page.text.empty()
                               ? std::string()
                               : "<p class=\"text\">" + HtmlText(message.page.text) + "</p>";
  return "<li><details><summary><span class=\"name\">" + HtmlText(subject) + "</span>" +
         (message.is_unread ? " <span class=\"mark\">unread</span>" : "") +
         " <span class=\"from\">" + HtmlText(message.from) + "</span> <span class=\"when\">" +
         (message.time ? DayText(*message.time) + " " + ClockText(*message.time) : "") +
         "</span></summary>" + Values(message.page.entries) + text + "</details></li>\n";
}

std::string FolderPart(const MessageFolder& folder, const std::vector<ReportedMessage>& messages) {
  std::vector<std::string> items;
  for (const ReportedMessage& message : messages) items.push_back(MessageItem(message));
  return std::string("<h3 id=\"") + folder.key + "\">" + folder.name + " <span class=\"count\">" +
         Grouped(messages.size()) + "</span></h3>\n" +
         (items.empty() ? Nothing("No messages.") : Portions(items));
}

std::string SettingRow(const SettingValue& setting) {
  const std::string value = !setting.value           ? "<span class=\"none\">none</span>"
                            : setting.value->empty() ? "<span class=\"none\">empty</span>"
                                                     : HtmlText(*setting.value);
  return "<tr><th scope=\"row\">" + HtmlText(setting.name) + "</th><td>" + value + "</td><td>" +
         (setting.is_set ? "set" : "default") + "</td></tr>\n";
}

}  // namespace

std::string ContactsSection(const Contents& contents) {
  std::string html(contents.contacts.empty() ? std::string_view() : kSearch);
  std::string letter;
  std::vector<std::string> items;
  for (const ReportedContact& contact : contents.contacts) {
    const std::string next = LetterOf(contact.name);
    if (next != letter) {
      html += LetterGroup(letter, items);
      items.clear();
      letter = next;
    }
    items.push_back(ContactItem(contact, contents.contacts.size() <= kMostInPairs));
  }
  html += LetterGroup(letter, items);
  if (contents.contacts.empty()) html = Nothing("No contacts.");
  return Section("contacts", "Contacts", contents.contacts.size(), html);
}

std::string TasksSection(const Contents& contents) {
  std::vector<std::string> items;
  for (const CalendarLook& task : contents.tasks) items.push_back(TaskItem(task));
  return Section("tasks", "Tasks", contents.tasks.size(),
                 items.empty() ? Nothing("No tasks.") : Portions(items));
}

std::string NotesSection(const Contents& contents) {
  std::vector<std::string> items;
  for (const ReportedNote& note : contents.notes) items.push_back(NoteItem(note));
  return Section("notes", "Notes", contents.notes.size(),
                 items.empty() ? Nothing("No notes.") : Portions(items));
}

std::string MessagesSection(const Contents& contents) {
  std::string html;
  size_t count = 0;
  for (size_t i = 0; i < kMessageFolders.size(); ++i) {
    html += FolderPart(kMessageFolders[i], contents.messages[i]);
    count += contents.messages[i].size();
  }
  return Section("messages", "Messages", count, html);
}

std::string SettingsSection(const Contents& contents) {
  std::string html =
      "<table>\n<thead><tr><th scope=\"col\">Setting</th><th scope=\"col\">Value</th>"
      "<th scope=\"col\">Origin</th></tr></thead>\n<tbody>\n";
  for (const SettingValue& setting : contents.settings) html += SettingRow(setting);
  html += "</tbody>\n</table>\n";
  return Section("settings", "Settings", contents.settings.size(), html);
}

}  // namespace command
