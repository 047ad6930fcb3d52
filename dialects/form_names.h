// The forms by the names that people give them, and by the endings of file names.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "dialects/forms.h"

namespace dialects {

// "vcard21", "vcard30", "vcard40", "vcal10", "ical20", "vnote", "vmsg", "eml", "mbox", "txt", "html".
std::optional<Form> FormOf(std::string_view name);
std::string_view NameOfForm(Form form);

// All names, for help texts: "vcard21, vcard30, ...".
std::string FormNames();

// What a file's ending says (".ics", ".eml", ".mbox", ".vcs", ".vnt", ".vmg", ".txt", ".html"); nothing for ".vcf", which
// every vCard has, and for others.
std::optional<Form> FormOfFile(std::string_view file_name);

// The ending that a file of a form usually has, with its dot.
std::string EndingOf(Form form);

// The form that today's programs read best where nobody said which: vCard 3.0, iCalendar, text for a note, mbox.
Form UsualForm(ObjectKind kind);

// A writer for objects of a kind; null where its kind does not have the form.
std::unique_ptr<ObjectWriter> MakeWriter(ObjectKind kind, Form form,
                                         const WriterSettings& settings);

}  // namespace dialects
