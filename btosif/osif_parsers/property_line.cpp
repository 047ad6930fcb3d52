#include "btosif/osif_parsers/property_line.h"

#include "config/trace.h"

PropertyLine::PropertyLine()
    : name_(static_cast<Buffer<kNameRoom>*>(OsifAlloc(kNameRoom))),
      params_(static_cast<Buffer<kParamRoom>*>(OsifAlloc(kParamRoom))) {
  if (has_buffers()) return;
  OsifAssert("ASSERT at %s line %d\n", __FILE__, __LINE__);
  OSIF_Trace(0, "OSIF:  Error - Memory allocation error");
}

PropertyLine::Kind PropertyLine::Read(OsifStream& stream) {
  line_ = FileLine(stream);
  if (line_ == nullptr) return Kind::kNoMemory;
  value_ = SplitProperty(name_->text, params_->text, line_.get());
  StripBlanks(name_->text);
  StripBlanks(params_->text);
  return line_.get()[0] == '\0' ? Kind::kBlank : Kind::kProperty;
}
