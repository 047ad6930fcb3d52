// A line is formatted, sent and forgotten: nothing is queued, nothing is allocated, and no failure is
// answered, since the trace is also written when memory is short or the network is gone. It is built on the
// stack, behind the place of its header, so that header and text leave in one datagram. The C library's
// formatter cannot be handed the whole format, since its wide texts are not UTF-16: the format is taken apart
// here, and only numbers and pointers are left to it.
//
// The socket and the receiver's address belong to the process. They change in OSIF_TraceInit only, and stay
// when the library is closed, so that what comes after can still be traced.

#include "config/trace.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/api/codepage.h"
#include "platform/api/last_error.h"
#include "platform/api/registry.h"
#include "platform/api/sockets.h"
#include "platform/utf8.h"

namespace {

constexpr size_t kHeaderSize = 8;
constexpr size_t kLongestText = 991;
constexpr uint16_t kPort = 38182;
constexpr WCHAR kDebugKey[] = u"Software\\Corvane\\BTConfig\\Debug";

SOCKET g_socket = INVALID_SOCKET;
uint32_t g_receiver = 0;    // IPv4 address, network byte order
UINT g_code_page = CP_ACP;  // of wide texts; asked once at each start

// ---- Formatting --------------------------------------------------------------------------------

// A text of bounded length; what goes beyond is dropped.
class Line {
 public:
  Line(char* buffer, size_t room) : buffer_(buffer), room_(room) {}

  void Append(std::string_view text) {
    const size_t kept = std::min(text.size(), room_ - size_);
    std::memcpy(buffer_ + size_, text.data(), kept);
    size_ += kept;
  }
  void AppendBlanks(size_t count) {
    const size_t kept = std::min(count, room_ - size_);
    std::memset(buffer_ + size_, ' ', kept);
    size_ += kept;
  }
  bool is_full() const { return size_ == room_; }
  std::string_view text() const { return {buffer_, size_}; }

 private:
  char* buffer_;
  size_t room_;
  size_t size_ = 0;
};

enum class Length { kInt, kLong, kLongLong, kSize };

// One conversion of a format: %[flags][width][.precision][length]conversion
struct Conversion {
  char flags[6] = {};
  size_t flag_count = 0;
  int width = 0;
  int precision = -1;  // -1 for none
  Length length = Length::kInt;
  int shorts = 0;  // how many "h" there are
  char letter = 0;

  void AddFlag(char flag) {
    if (flag_count + 1 < sizeof(flags) && std::strchr(flags, flag) == nullptr) {
      flags[flag_count++] = flag;
    }
  }
  bool IsLeftAligned() const { return std::strchr(flags, '-') != nullptr; }
};

// The arguments, in a struct so that they can be passed by reference: on some machines va_list is an array,
// and a copy of one must not be read on after another function has taken from it.
struct Arguments {
  va_list list;
};

// Digits at `format`, or an argument for "*". More than the length of a line makes no difference, and a
// number that is held there cannot run over.
int ReadNumber(const char*& format, Arguments& arguments) {
  constexpr int kLimit = static_cast<int>(kLongestText);
  if (*format == '*') {
    ++format;
    return std::clamp(va_arg(arguments.list, int), -kLimit, kLimit);
  }
  int number = 0;
  for (; *format >= '0' && *format <= '9'; ++format) {
    number = std::min(number * 10 + (*format - '0'), kLimit);
  }
  return number;
}

// The letters may repeat ("ll", "hh"); "j" is as long as the longest.
void ReadLength(const char*& format, Conversion& conversion) {
  for (; *format == 'h' || *format == 'l' || *format == 'z' || *format == 'j'; ++format) {
    if (*format == 'h') {
      ++conversion.shorts;
    } else if (*format == 'z') {
      conversion.length = Length::kSize;
    } else {
      const bool is_second = conversion.length == Length::kLong || *format == 'j';
      conversion.length = is_second ? Length::kLongLong : Length::kLong;
    }
  }
}

// Reads a conversion after its "%". One that the format's end cuts off has no letter.
Conversion ReadConversion(const char*& format, Arguments& arguments) {
  Conversion conversion;
  while (*format != '\0' && std::strchr("-+ #0", *format) != nullptr) conversion.AddFlag(*format++);
  conversion.width = ReadNumber(format, arguments);
  if (conversion.width < 0) {
    conversion.AddFlag('-');
    conversion.width = -conversion.width;
  }
  if (*format == '.') {
    ++format;
    conversion.precision = std::max(ReadNumber(format, arguments), -1);
  }
  ReadLength(format, conversion);
  if (*format != '\0') conversion.letter = *format++;
  return conversion;
}

// Has the C library format one number or pointer, by a format made of the one conversion.
template <typename Value>
void AppendFormatted(Line& line, const Conversion& conversion, const char* modifier, Value value) {
  char format[32];
  std::snprintf(format, sizeof(format), "%%%s*.*%s%c", conversion.flags, modifier,
                conversion.letter);
  char text[kLongestText + 64];
  const int size =
      std::snprintf(text, sizeof(text), format, conversion.width, conversion.precision, value);
  if (size > 0) line.Append({text, std::min(static_cast<size_t>(size), sizeof(text) - 1)});
}

void AppendNumber(Line& line, const Conversion& conversion, Arguments& arguments) {
  switch (conversion.length) {
    case Length::kLong:
      return AppendFormatted(line, conversion, "l", va_arg(arguments.list, long));
    case Length::kLongLong:
      return AppendFormatted(line, conversion, "ll", va_arg(arguments.list, long long));
    case Length::kSize:
      return AppendFormatted(line, conversion, "z", va_arg(arguments.list, size_t));
    case Length::kInt: {
      const char* modifier = conversion.shorts == 0 ? "" : conversion.shorts == 1 ? "h" : "hh";
      return AppendFormatted(line, conversion, modifier, va_arg(arguments.list, int));
    }
  }
}

// A text with the conversion's precision and width, both in bytes.
void AppendPadded(Line& line, const Conversion& conversion, std::string_view text) {
  if (conversion.precision >= 0) text = text.substr(0, static_cast<size_t>(conversion.precision));
  const auto width = static_cast<size_t>(conversion.width);
  const size_t blanks = width > text.size() ? width - text.size() : 0;
  if (!conversion.IsLeftAligned()) line.AppendBlanks(blanks);
  line.Append(text);
  if (conversion.IsLeftAligned()) line.AppendBlanks(blanks);
}

// A text with a precision may have no terminator, so it is not looked at any further.
void AppendNarrow(Line& line, const Conversion& conversion, const char* text) {
  if (text == nullptr) return AppendPadded(line, conversion, "(null)");
  const size_t limit =
      conversion.precision < 0 ? kLongestText : static_cast<size_t>(conversion.precision);
  AppendPadded(line, conversion, {text, strnlen(text, limit)});
}

// Converted piece by piece, so that nothing is allocated and a long text is not walked to its end. A piece
// ends before a pair of surrogates that it would split.
void AppendWide(Line& line, const Conversion& conversion, const WCHAR* text) {
  if (text == nullptr) return AppendPadded(line, conversion, "(null)");
  char buffer[kLongestText];
  Line converted(buffer, sizeof(buffer));
  while (*text != 0 && !converted.is_full()) {
    int units = 0;
    while (units < 32 && text[units] != 0) ++units;
    const bool splits_pair = units > 1 && text[units] != 0 && IsLeadSurrogate(text[units - 1]);
    if (splits_pair) --units;
    char piece[1024];
    const int size = WideCharToMultiByte(g_code_page, 0, text, units, piece,
                                         static_cast<int>(sizeof(piece)), nullptr, nullptr);
    converted.Append({piece, static_cast<size_t>(size)});
    text += units;
  }
  AppendPadded(line, conversion, converted.text());
}

void AppendConversion(Line& line, const Conversion& conversion, Arguments& arguments) {
  switch (conversion.letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
      return AppendNumber(line, conversion, arguments);
    case 'c': {
      const char character = static_cast<char>(va_arg(arguments.list, int));
      return AppendPadded(line, conversion, {&character, 1});
    }
    case 's':
      if (conversion.length == Length::kLong) {
        return AppendWide(line, conversion, va_arg(arguments.list, const WCHAR*));
      }
      return AppendNarrow(line, conversion, va_arg(arguments.list, const char*));
    case 'S':
      return AppendWide(line, conversion, va_arg(arguments.list, const WCHAR*));
    case 'p': {
      Conversion number = conversion;
      number.precision = -1;
      return AppendFormatted(line, number, "", va_arg(arguments.list, void*));
    }
    default:
      return line.Append({&conversion.letter, 1});  // "%%", and what nobody should write
  }
}

void FormatLine(Line& line, const char* format, Arguments& arguments) {
  while (*format != '\0') {
    const char* plain_end = std::strchr(format, '%');
    const size_t plain =
        plain_end == nullptr ? std::strlen(format) : static_cast<size_t>(plain_end - format);
    line.Append({format, plain});
    format += plain;
    if (*format == '\0') return;
    ++format;
    const Conversion conversion = ReadConversion(format, arguments);
    if (conversion.letter == '\0') return;
    AppendConversion(line, conversion, arguments);
  }
}

// ---- Sending -----------------------------------------------------------------------------------

// Byte by byte, since the header's order is fixed and the machine's is not.
void PutWord(char* place, size_t word) {
  place[0] = static_cast<char>(word & 0xFF);
  place[1] = static_cast<char>(word >> 8 & 0xFF);
}

// Also without a socket or a receiver: the system then refuses the call, and one more line is lost.
void Send(const char* datagram, size_t size) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  address.sin_addr.s_addr = g_receiver;
  sendto(g_socket, datagram, size, 0, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

// The receiver's address as the registry has it, 0 for none. The key stays open: of what the channel takes it
// gives back only a socket that was in use, the rest ends with the process.
uint32_t ConfiguredReceiver() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDebugKey, 0, 0, &key) != ERROR_SUCCESS) return 0;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LONG error =
      RegQueryValueExW(key, u"LogIPAddr", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
  return error == ERROR_SUCCESS ? value : 0;
}

void CloseTraceSocket() {
  if (g_socket != INVALID_SOCKET) closesocket(g_socket);
  g_socket = INVALID_SOCKET;
}

void OpenTraceSocket() {
  g_socket = socket(AF_INET, SOCK_DGRAM, 0);
  if (g_socket == INVALID_SOCKET) return;
  sockaddr_in any{};
  any.sin_family = AF_INET;
  // Forgotten, not closed, as the key is.
  if (bind(g_socket, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) != 0) {
    g_socket = INVALID_SOCKET;
  }
}

}  // namespace

void OSIF_TraceInit() {
  // Asked here: at each wide text it would be a look at the registry.
  g_code_page = GetACP();
  const uint32_t configured = ConfiguredReceiver();
  if (configured == 0) return CloseTraceSocket();
  const uint32_t address = ntohl(configured);
  if (address == g_receiver && g_socket != INVALID_SOCKET) return;
  CloseTraceSocket();
  g_receiver = address;
  OpenTraceSocket();
}

bool OSIF_IsTraced() { return g_socket != INVALID_SOCKET; }

// Callers trace in the middle of looking at what failed, so the errors that they look at are put back.
void OSIF_Trace(uint16_t category, const char* format, ...) {
  const DWORD last_error = GetLastError();
  const int error_number = errno;

  char datagram[kHeaderSize + kLongestText] = {};
  Line line(datagram + kHeaderSize, kLongestText);
  Arguments arguments;
  va_start(arguments.list, format);
  if (format != nullptr) FormatLine(line, format, arguments);
  va_end(arguments.list);

  PutWord(datagram, category);
  PutWord(datagram + 2, line.text().size());
  Send(datagram, kHeaderSize + line.text().size());

  SetLastError(last_error);
  errno = error_number;
}
