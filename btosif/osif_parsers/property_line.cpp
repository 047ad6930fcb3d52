#include "btosif/osif_parsers/property_line.h"

#include "config/trace.h"

PropertyLine::PropertyLine(Shortage shortage)
    : name_(static_cast<Buffer<kNameRoom>*>(OsifAlloc(kNameRoom))),
      params_(static_cast<Buffer<kParamRoom>*>(OsifAlloc(kParamRoom))) {
  if (has_buffers()) return;
  if (shortage == Shortage::kAsserted) OsifAssert("ASSERT at %s line %d\n", __FILE__, __LINE__);
  OSIF_Trace(0, "OSIF:  Error - Memory allocation error");
}

PropertyLine::Kind PropertyLine::Read(OsifStream& stream) {
  line_ = ReadLogicalLine(stream);
  if (!line_.has_memory) return Kind::kNoMemory;
  split_ = SplitStripped(name_->text, params_->text, line_.text);
  return line_.text.empty() ? Kind::kBlank : Kind::kProperty;
}
