// A note's new file is written beside its place, in three steps, so that a program that is killed leaves the
// old note or the whole new one:
//   NAME.pwi.tmp   while it is written: may be cut off
//   NAME.pwi.new   once it is whole; the old file goes now
//   NAME.pwi       in its place
// A file cannot be moved onto another one, so for a moment there is NAME.pwi.new alone. Whoever looks for a
// note puts such a file in its place first.
//
// A new file is on the disk before an old one goes for it. One that takes no other's place gets there at the
// close, with all that were written since: waiting for the disk takes longer than everything else that is
// done for a note.
#include "BtOsif_pol/pol_note.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <utility>

#include "btosif/osif_util/value_text.h"
#include "config/trace.h"
#include "platform/api/files.h"
#include "platform/api/richink.h"
#include "platform/utf8.h"

namespace {

constexpr size_t kNameLimit = 260;
constexpr WideView kForbidden = u"\\/:*?<>|\"";
constexpr WideView kExtension = u".pwi";
constexpr WideView kUnfinished = u".tmp";
constexpr WideView kReplacement = u".new";

// ---- Names ------------------------------------------------------------------------------------------

bool IsControl(WCHAR c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

// A character outside the first plane is two units; half of one is no character.
size_t UnitsAt(WideView text, size_t index) {
  if (!IsSurrogate(text[index])) return 1;
  const bool is_pair =
      IsLeadSurrogate(text[index]) && index + 1 < text.size() && IsTrailSurrogate(text[index + 1]);
  return is_pair ? 2 : 0;
}

WideText CleanName(WideView name) {
  WideText clean;
  for (size_t i = 0; i < name.size();) {
    const size_t units = UnitsAt(name, i);
    if (clean.size() + units > kNameLimit) break;
    const bool is_kept =
        units > 0 && !IsControl(name[i]) && kForbidden.find(name[i]) == WideView::npos;
    if (is_kept) clean.append(name.substr(i, units));
    i += std::max<size_t>(units, 1);
  }
  return clean;
}

// ---- Ink documents ----------------------------------------------------------------------------------

// A window of the rich-ink control, never shown.
class InkControl {
 public:
  InkControl()
      : window_(CreateWindowW(RICHINK_CLASS, nullptr, 0, CW_USEDEFAULT, CW_USEDEFAULT,
                              CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, nullptr, nullptr)) {}
  ~InkControl() {
    if (window_ != nullptr) DestroyWindow(window_);
  }
  InkControl(const InkControl&) = delete;
  InkControl& operator=(const InkControl&) = delete;

  bool is_made() const { return window_ != nullptr; }

  // Streams text in or the document out; false when the callback or the control failed.
  template <typename Cookie>
  bool Stream(UINT message, WPARAM format, EDITSTREAMCALLBACK callback, Cookie& cookie) {
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&cookie), 0, callback};
    SendMessageW(window_, message, format, reinterpret_cast<LPARAM>(&stream));
    return stream.dwError == 0;
  }

 private:
  HWND window_;
};

// A text's bytes, its terminating zero character included.
struct TextSource {
  const BYTE* bytes;
  size_t left;
};

DWORD CALLBACK ReadBlock(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done) {
  auto& source = *reinterpret_cast<TextSource*>(cookie);
  const size_t count = std::min(source.left, static_cast<size_t>(std::max(size, 0)));
  std::memcpy(buffer, source.bytes, count);
  source.bytes += count;
  source.left -= count;
  *done = static_cast<LONG>(count);
  return 0;
}

// The files that were written since all of them were put on the disk.
std::set<WideText> g_unflushed;

bool IsThere(const WideText& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  return file != INVALID_HANDLE_VALUE && CloseHandle(file);
}

// A file that has gone meanwhile was taken away, or is another note's by now.
bool FlushFile(const WideText& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND;
  }
  const bool is_flushed = FlushFileBuffers(file) != FALSE;
  return CloseHandle(file) && is_flushed;
}

class NewFile {
 public:
  explicit NewFile(const WideText& path)
      : handle_(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~NewFile() { Close(); }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE handle() const { return handle_; }
  bool Flush() { return FlushFileBuffers(handle_) != FALSE; }
  bool Close() {
    const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
    return handle == INVALID_HANDLE_VALUE || CloseHandle(handle);
  }

 private:
  HANDLE handle_;
};

DWORD CALLBACK WriteBlock(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done) {
  auto& file = *reinterpret_cast<NewFile*>(cookie);
  DWORD written = 0;
  const BOOL is_written =
      WriteFile(file.handle(), buffer, static_cast<DWORD>(size), &written, nullptr);
  *done = static_cast<LONG>(written);
  return is_written ? 0 : 1;
}

// Writes the whole document; false when some of it could not be written.
bool WriteDocument(InkControl& control, const WideText& text, bool replaces, NewFile& file) {
  TextSource source = {reinterpret_cast<const BYTE*>(text.c_str()),
                       (text.size() + 1) * sizeof(WCHAR)};
  const bool is_taken = control.Stream(EM_STREAMIN, SF_TEXT | SF_UNICODE, ReadBlock, source);
  const bool is_written = is_taken && control.Stream(EM_STREAMOUT, SF_PWI, WriteBlock, file);
  return is_written && (!replaces || file.Flush()) && file.Close();
}

// Brings to its end what a program that was killed had begun. Does nothing where the note has its file.
void FinishReplacing(const WideText& path) {
  MoveFileW((path + WideText(kReplacement)).c_str(), path.c_str());
}

// Takes a note away, also one that waits to be put in its place.
void Remove(const WideText& path) {
  DeleteFileW((path + WideText(kReplacement)).c_str());
  DeleteFileW(path.c_str());
}

// Puts a whole new file in the note's place.
bool Replace(const WideText& unfinished, const WideText& path) {
  FinishReplacing(path);
  const WideText replacement = path + WideText(kReplacement);
  DeleteFileW(replacement.c_str());
  if (!MoveFileW(unfinished.c_str(), replacement.c_str())) return false;
  DeleteFileW(path.c_str());
  if (MoveFileW(replacement.c_str(), path.c_str())) return true;
  // The old one stayed.
  if (GetLastError() == ERROR_ALREADY_EXISTS) DeleteFileW(replacement.c_str());
  return false;
}

// Writes the note's file; false when it could not be created or filled. `replaces`: an old file goes for it.
bool PutFile(InkControl& control, OsifNote& note, const WideText& path, bool replaces) {
  const WideText text = DecodedText(note.body, 0);
  const WideText unfinished = path + WideText(kUnfinished);
  NewFile file(unfinished);
  if (!file.is_open()) return false;
  if (WriteDocument(control, text, replaces, file) && Replace(unfinished, path)) return true;
  file.Close();
  DeleteFileW(unfinished.c_str());
  return false;
}

// `old_path` (may be empty) is the file that the note replaces.
void Put(OsifNote& note, const WideText& old_path) {
  InkControl control;
  if (!control.is_made()) {
    OSIF_Trace(0, "OSIF:  Unable to create RICHINK control");
    return;
  }
  const WideText path = pol_NotePath(pol_NoteName(note));
  const bool replaces =
      !old_path.empty() || IsThere(path) || IsThere(path + WideText(kReplacement));
  if (path.empty() || !PutFile(control, note, path, replaces)) {
    OSIF_Trace(0, "OSIF:  pol_PutNote Error - Unable to create file '%S'", path.c_str());
    return;
  }
  g_unflushed.insert(path);
  if (!old_path.empty() && old_path != path) Remove(old_path);
}

}  // namespace

WideText pol_NotePath(WideView name) {
  WCHAR folder[MAX_PATH] = {};
  if (!SHGetSpecialFolderPath(nullptr, folder, CSIDL_PERSONAL, FALSE)) return {};
  return WideText(folder).append(u"\\").append(CleanName(name)).append(kExtension);
}

WideText pol_NoteName(OsifNote& note) { return DecodedText(note.summary, 0); }

void pol_PutNote(OsifNote& note) { Put(note, {}); }

void pol_ReplaceNote(const char* id, OsifNote& note) {
  Put(note, pol_NotePath(MultiByteToText(NativeCodePage(), id)));
}

bool pol_HasNote(OsifNote& note) {
  const WideText name = pol_NoteName(note);
  const WideText path = name.empty() ? WideText() : pol_NotePath(name);
  if (path.empty()) return false;
  FinishReplacing(path);
  return IsThere(path);
}

bool pol_FlushNotes() {
  std::erase_if(g_unflushed, FlushFile);
  return g_unflushed.empty();
}

void pol_WriteNoteId(WideView name, char* id) {
  if (id == nullptr) return;
  const std::string bytes = TextToMultiByte(NativeCodePage(), name);
  id[bytes.copy(id, OSIF_ID_SIZE - 1)] = '\0';
}
