// Property lines of vObject text (vCard 2.1, section 2.1). Lines are broken only after encoded line
// feeds, with a quoted-printable soft line break (RFC 2045, section 6.7); there is no folding by width.
#pragma once

#include <string_view>

#include "btosif/osif_file.h"
#include "osif.h"

// What a format says in the trace when a line could not be made or written.
struct WriterMessages {
  const char* no_memory;
  const char* not_written;
};

inline constexpr WriterMessages kVCardMessages = {
    "OSIF:  Insufficient memory to generate vCard string",
    "OSIF:  Unable to put vCard string to file"};

// Writes "NAME:value", or "NAME;params:value" when there are parameters. 1 after a failure.
int WritePropertyLine(OsifStream& stream, std::string_view name, std::string_view params,
                      std::string_view value, const WriterMessages& messages = kVCardMessages);

// Writes each value of a list as one line, its trailing empty components dropped. An empty list writes
// nothing, or the bare "NAME:" when the property is required. 1 after a failure.
int WritePropertyList(OsifStream& stream, std::string_view name, PropertyValue* list, bool required,
                      const WriterMessages& messages = kVCardMessages);

// Writes a line, broken with "=" after each "=0A" that is not its end. 1 after a failure.
int WriteSplitLine(OsifStream& stream, std::string_view line);
