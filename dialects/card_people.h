// Cards for people: "Name: value" lines, or one page of HTML.
#pragma once

#include <memory>

#include "dialects/forms.h"
#include "dialects/people_page.h"

namespace dialects {

// `form` is kText or kHtml. What people cannot read, such as pictures and keys, is left out with a report.
std::unique_ptr<ObjectWriter> MakeCardWriterForPeople(Form form, const WriterSettings& settings);

// What a card says, the name first, of which each has one.
PageItem CardForPeople(const ObjectText& object, const TextSettings& settings);

}  // namespace dialects
