#include "platform/api/codepage.h"

#include <limits>
#include <string_view>

#include "platform/posix/code_page_converter.h"

namespace {

int Fail(LONG error) {
  SetLastError(static_cast<DWORD>(error));
  return 0;
}

const CodePage* Resolve(UINT number) { return FindCodePage(number == CP_ACP ? GetACP() : number); }

template <typename Unit>
std::basic_string_view<Unit> View(const Unit* text, int length) {
  if (length < 0) return text;
  return {text, static_cast<size_t>(length)};
}

template <typename Source, typename Target>
bool AreValid(const Source* text, int length, const Target* buffer, int room) {
  return text != nullptr && length != 0 && room >= 0 && (buffer != nullptr || room == 0) &&
         static_cast<const void*>(text) != static_cast<const void*>(buffer);
}

// The result of a conversion: its length, if that fits the room (a room of 0 only asks for the
// length).
int Finish(size_t length, int room) {
  if (length > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return Fail(ERROR_ARITHMETIC_OVERFLOW);
  }
  const int result = static_cast<int>(length);
  return room != 0 && result > room ? Fail(ERROR_INSUFFICIENT_BUFFER) : result;
}

}  // namespace

int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                        int room) {
  const CodePage* page = Resolve(code_page);
  if (page == nullptr || !AreValid(text, length, buffer, room)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  if ((flags & ~(MB_PRECOMPOSED | MB_ERR_INVALID_CHARS)) != 0) return Fail(ERROR_INVALID_FLAGS);

  ConversionOutput<char16_t> output(buffer, static_cast<size_t>(room));
  const ConversionReport report = DecodeText(*page, View(text, length), output);
  if (!report.is_available) return Fail(ERROR_INVALID_PARAMETER);
  if (report.has_replaced && (flags & MB_ERR_INVALID_CHARS) != 0) {
    return Fail(ERROR_NO_UNICODE_TRANSLATION);
  }
  if (length < 0) output.Put(u'\0');  // a text up to its zero comes out with it
  return Finish(output.length(), room);
}

int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR text, int length, LPSTR buffer,
                        int room, LPCSTR default_char, BOOL* used_default) {
  const CodePage* page = Resolve(code_page);
  if (page == nullptr || default_char != nullptr || !AreValid(text, length, buffer, room)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  if (flags != 0) return Fail(ERROR_INVALID_FLAGS);

  ConversionOutput<char> output(buffer, static_cast<size_t>(room));
  const ConversionReport report = EncodeText(*page, View(text, length), output);
  if (!report.is_available) return Fail(ERROR_INVALID_PARAMETER);
  if (used_default != nullptr) *used_default = report.has_replaced ? TRUE : FALSE;
  if (length < 0) output.Put('\0');
  return Finish(output.length(), room);
}

BOOL IsValidCodePage(UINT code_page) {
  const CodePage* page = FindCodePage(code_page);
  return page != nullptr && CanConvert(*page) ? TRUE : FALSE;
}
