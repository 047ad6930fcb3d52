// A stream has one buffer for each direction, and at most one of them is in use at a time.
//
// Reading: the window is a piece of memory of which the bytes from begin_ to end_ are at hand. Readers look at
// them in place and Skip what they have used, which moves begin_ and nothing else. Only when a reader wants
// more than there is does ReadAhead move the rest to the front and fill up behind it; a line that is longer
// than the window makes it twice as large. Each byte is looked at once as it comes in, for zero bytes and
// lone carriage returns: as long as there were none, nobody has to look for them line by line.
//
// Writing: a new file's bytes are gathered in a fixed buffer and go to the runtime's stream when it is full and
// before anything that depends on the file itself: a flush, a seek, a read, closing. What was gathered counts
// in FILE_Tell. A failure to write may therefore show only then; FILE_Flush and FILE_Close report it.
//
// Positions are those of the caller, not of the runtime's stream, which stands behind the window. Seeking and
// writing after reading therefore forget the window first.
#include "btosif/osif_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "btosif/osif_util/charset.h"
#include "config/trace.h"
#include "platform/api/codepage.h"
#include "platform/api/files.h"

namespace {

constexpr size_t kFirstWindow = size_t{64} * 1024;
constexpr size_t kMostGathered = size_t{16} * 1024;
constexpr uint32_t kEndOfFileMark = 0xFFFFFFFF;
constexpr WCHAR kTempPrefix[] = {'z', 'u', 'l', 0};
constexpr DWORD kTempFolderRoom = 256;

// A zero byte ends the text of a line as its end does.
bool EndsLine(char byte) { return byte == '\n' || byte == '\r' || byte == '\0'; }

// A wide name as the trace shows it.
std::string Shown(const WCHAR* name) {
  return name == nullptr ? "(null)" : TextToMultiByte(NativeCodePage(), name);
}

int Failed(const char* format) {
  OSIF_Trace(0, format, GetLastError());
  return 1;
}

int UniqueTempFilename(const WCHAR* folder, WCHAR* path) {
  if (GetTempFileNameW(folder, kTempPrefix, 0, path) == 0) {
    return Failed("OSIF: FILE_TempFilename; FILE error (%d)");
  }
  return 0;
}

// Whether no byte but the last is zero or a carriage return without a line feed. Without a branch for each
// byte, so that many are looked at at once.
bool ArePlain(std::string_view bytes) {
  const char* text = bytes.data();
  unsigned char odd = 0;
  for (size_t i = 0; i + 1 < bytes.size(); ++i) {
    const auto is_zero = static_cast<unsigned char>(text[i] == '\0');
    const auto is_return = static_cast<unsigned char>(text[i] == '\r');
    const auto ends_no_line = static_cast<unsigned char>(text[i + 1] != '\n');
    odd = static_cast<unsigned char>(odd | is_zero | (is_return & ends_no_line));
  }
  return odd == 0;
}

}  // namespace

void OsifStream::Free::operator()(char* bytes) const { std::free(bytes); }

void OsifStream::Swap(OsifStream& other) noexcept {
  std::swap(file_, other.file_);
  std::swap(window_, other.window_);
  std::swap(room_, other.room_);
  std::swap(begin_, other.begin_);
  std::swap(end_, other.end_);
  std::swap(at_end_, other.at_end_);
  std::swap(is_plain_, other.is_plain_);
  std::swap(gathered_, other.gathered_);
  std::swap(gathered_size_, other.gathered_size_);
  std::swap(line_end_, other.line_end_);
  std::swap(can_gather_, other.can_gather_);
}

// Keeps bytes that are to be written to a new file. False when there is no room for them, and for any other
// file: where nothing can be written that has to show at once, and what is appended has a position.
bool OsifStream::Gather(std::string_view bytes) {
  if (!can_gather_) return false;
  if (gathered_ == nullptr) gathered_.reset(static_cast<char*>(std::malloc(kMostGathered)));
  if (gathered_ == nullptr || bytes.size() > kMostGathered - gathered_size_) return false;
  std::ranges::copy(bytes, gathered_.get() + gathered_size_);
  gathered_size_ += bytes.size();
  return true;
}

// Gives what was gathered to the runtime's stream. False when that failed; the bytes are then lost.
bool OsifStream::HandOver() {
  const size_t size = std::exchange(gathered_size_, 0);
  return size == 0 || std::fwrite(gathered_.get(), 1, size, file_.get()) == size;
}

void OsifStream::ForgetWindow() {
  begin_ = 0;
  end_ = 0;
  at_end_ = false;
}

// Moves the bytes to the front of the window, and makes it larger when they fill it.
bool OsifStream::MakeRoom() {
  if (begin_ > 0) {
    std::memmove(window_.get(), window_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ < room_) return true;
  const size_t room = room_ == 0 ? kFirstWindow : room_ * 2;
  auto* larger = static_cast<char*>(std::realloc(window_.get(), room));
  if (larger == nullptr) return false;
  static_cast<void>(window_.release());
  window_.reset(larger);
  room_ = room;
  return true;
}

// A carriage return at the end of the window is looked at together with what follows it.
void OsifStream::LookAtNewBytes(size_t count) {
  const size_t from = end_ - count - (end_ - count > begin_ ? 1 : 0);
  const std::string_view bytes = {window_.get() + from, end_ - from};
  const bool ends_oddly = bytes.ends_with('\0') || (count == 0 && bytes.ends_with('\r'));
  is_plain_ = is_plain_ && !ends_oddly && ArePlain(bytes);
}

OsifStream::Ahead OsifStream::ReadAhead() {
  if (file_ == nullptr) return Ahead::kEnd;
  HandOver();
  if (end_ == room_ && !MakeRoom()) return Ahead::kNoMemory;
  const size_t count = std::fread(window_.get() + end_, 1, room_ - end_, file_.get());
  end_ += count;
  if (count == 0) at_end_ = true;
  LookAtNewBytes(count);
  return count == 0 ? Ahead::kEnd : Ahead::kMore;
}

// FindLineFeed where the window does not have one.
std::optional<size_t> OsifStream::ReadToLineFeed(size_t from, size_t limit) {
  for (;;) {
    const std::string_view window = Window().substr(0, limit);
    const size_t found = window.find('\n', from);
    if (found != std::string_view::npos) return found;
    if (window.size() == limit) return limit;
    from = window.size();
    switch (ReadAhead()) {
      case Ahead::kMore:
        break;
      case Ahead::kEnd:
        return from;
      case Ahead::kNoMemory:
        return std::nullopt;
    }
  }
}

int FILE_Open(OsifStream& stream, const WCHAR* name, const WCHAR* mode, LineEnd line_end) {
  stream = OsifStream();
  stream.line_end_ = line_end;
  if (name != nullptr) stream.file_.reset(_wfopen(name, mode));
  stream.can_gather_ = WideView(mode).starts_with(u'w');
  if (stream.is_open()) return 0;
  OSIF_Trace(0, "OSIF:  Unable to open file '%S' in mode '%S'", name, mode);
  return 1;
}

bool FILE_Exists(const WCHAR* name) {
  FILE* file = _wfopen(name, u"rb");
  if (file != nullptr) std::fclose(file);
  return file != nullptr;
}

int FILE_Close(OsifStream& stream, const WCHAR* name) {
  if (!stream.is_open()) return 0;
  const bool is_written = stream.HandOver();
  const int result = std::fclose(stream.file_.release());
  stream = OsifStream();
  if (is_written && result == 0) return 0;
  OSIF_Trace(0, "OSIF:  Unable to close file '%s'", Shown(name).c_str());
  return 1;
}

int FILE_ReadLine(char (&buffer)[kLineRoom], OsifStream& stream) {
  // Where memory is short the bytes at hand have to do.
  constexpr size_t kMost = kLineRoom - 1;
  const size_t end = stream.FindLineFeed(0, kMost).value_or(kMost);
  const size_t length = std::min({end + 1, kMost, stream.Window().size()});
  if (length == 0) return 1;
  const std::string_view bytes = stream.Window().substr(0, length);
  char* const line_end =
      std::ranges::copy(bytes.begin(), std::ranges::find_if(bytes, EndsLine), buffer).out;
  *line_end = '\0';
  stream.Skip(length);
  return 0;
}

int FILE_Write(OsifStream& stream, std::string_view bytes) {
  if (!stream.is_open()) return 1;
  // A stream that was read from must be positioned before it is written to.
  if (stream.end_ > 0) {
    int64_t position = 0;
    FILE_Tell(&position, stream);
    if (FILE_Seek(stream, position) != 0) return 1;
  }
  if (stream.Gather(bytes)) return 0;
  if (!stream.HandOver()) return 1;
  if (stream.Gather(bytes)) return 0;
  return std::fwrite(bytes.data(), 1, bytes.size(), stream.file()) == bytes.size() ? 0 : 1;
}

int FILE_WriteLine(OsifStream& stream, std::string_view text) {
  if (FILE_Write(stream, text) != 0) return 1;
  return FILE_Write(stream, stream.line_end() == LineEnd::kCrLf ? "\r\n" : "\n");
}

int FILE_Flush(OsifStream& stream) {
  if (!stream.is_open()) return 1;
  const bool is_written = stream.HandOver();
  return std::fflush(stream.file()) == 0 && is_written ? 0 : 1;
}

int FILE_FlushToDisk(OsifStream& stream) {
  if (FILE_Flush(stream) != 0) return 1;
  return FlushFileBuffers(_fileno(stream.file())) ? 0 : 1;
}

int FILE_CutBack(OsifStream& stream, int64_t size) {
  if (!stream.is_open()) return 1;
  std::clearerr(stream.file());
  int64_t end = 0;
  if (FILE_SeekEnd(stream) != 0) return 1;
  FILE_Tell(&end, stream);
  if (end == size) return 0;
  if (FILE_Seek(stream, size) != 0) return 1;
  const HANDLE file = _fileno(stream.file());
  auto high = static_cast<LONG>(size >> 32);
  const DWORD low = SetFilePointer(file, static_cast<LONG>(size), &high, FILE_BEGIN);
  if (low == INVALID_SET_FILE_POINTER) return 1;
  return SetEndOfFile(file) ? 0 : 1;
}

void FILE_DoNotBuffer(OsifStream& stream) {
  stream.can_gather_ = false;
  if (stream.is_open()) std::setvbuf(stream.file(), nullptr, _IONBF, 0);
}

int FILE_Tell(int64_t* position, const OsifStream& stream) {
  const int64_t read_up_to = stream.is_open() ? ftello(stream.file()) : 0;
  *position = read_up_to - static_cast<int64_t>(stream.end_ - stream.begin_) +
              static_cast<int64_t>(stream.gathered_size_);
  return 0;
}

int FILE_Rewind(OsifStream& stream) { return FILE_Seek(stream, 0); }

int FILE_SeekEnd(OsifStream& stream) {
  if (!stream.is_open()) return 1;
  stream.ForgetWindow();
  const bool is_written = stream.HandOver();
  return fseeko(stream.file(), 0, SEEK_END) == 0 && is_written ? 0 : 1;
}

int FILE_Seek(OsifStream& stream, int64_t position) {
  if (!stream.is_open()) return 1;
  stream.ForgetWindow();
  const bool is_written = stream.HandOver();
  return fseeko(stream.file(), position, SEEK_SET) == 0 && is_written ? 0 : 1;
}

int FILE_GetChar(uint32_t* character, OsifStream& stream) {
  *character = kEndOfFileMark;
  if (stream.Window().empty() && stream.ReadAhead() != OsifStream::Ahead::kMore) return 0;
  *character = static_cast<unsigned char>(stream.Window().front());
  stream.Skip(1);
  return 0;
}

int FILE_Eof(const OsifStream& stream) { return stream.at_end_ ? 1 : 0; }

int FILE_Error(const OsifStream& stream) {
  return stream.is_open() ? std::ferror(stream.file()) : 0;
}

int FILE_Rename(const WCHAR* old_name, const WCHAR* new_name) {
  if (MoveFileW(old_name, new_name)) return 0;
  const DWORD error = GetLastError();
  OSIF_Trace(0, "OSIF:  Unable to rename file (old=%s, new=%s)", Shown(old_name).c_str(),
             Shown(new_name).c_str());
  OSIF_Trace(0, "OSIF:  Error: 0x%08x", error);
  return 1;
}

int FILE_Remove(const WCHAR* name) {
  if (DeleteFileW(name)) return 0;
  const DWORD error = GetLastError();
  OSIF_Trace(0, "OSIF:  Unable to remove file (file=%S)", name);
  OSIF_Trace(0, "OSIF:  Error: 0x%08x", error);
  return 1;
}

// Characters are looked at and not bytes: in some code pages the second byte of a letter is that of a separator.
WideText FILE_LastPart(std::string_view name) {
  WideText part = MultiByteToText(NativeCodePage(), name);
  const size_t separator = part.find_last_of(u"/\\:");
  if (separator != WideText::npos) part.erase(0, separator + 1);
  if (part == u"." || part == u"..") part.clear();
  return part;
}

int FILE_TempFilename(const char* wanted_name, WCHAR* path) {
  if (path == nullptr) {
    OsifAssert("ASSERT at %s line %d\n", __FILE__, __LINE__);
    return 1;
  }
  path[0] = 0;
  WCHAR folder[kTempFolderRoom + 1] = {};
  const DWORD length = GetTempPathW(kTempFolderRoom, folder);
  if (length == 0 || length > kTempFolderRoom) {
    return Failed("OSIF: FILE_TempFilename; PATH error (%d)");
  }
  const WideText name = FILE_LastPart(wanted_name == nullptr ? "" : wanted_name);
  if (name.empty()) return UniqueTempFilename(folder, path);

  const WideText full = folder + name.substr(0, kTempFolderRoom);
  full.copy(path, full.size());
  path[full.size()] = 0;
  return 0;
}

void OsifAssert(const char* format, const char* source_file, int line) {
  OSIF_Trace(0, format, source_file, line);
}
