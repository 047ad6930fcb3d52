// File access: everything that the library reads or writes goes through these functions over one
// buffered stream. Each tells a failure once in the diagnostic trace and returns 1; 0 is success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "btosif/osif_util/charset.h"
#include "osif.h"

// What FILE_WriteLine puts after a line: the object formats ask for CR LF (RFC 2045, section 2.1), the
// library's own log files have LF.
enum class LineEnd { kLf, kCrLf };

// The room of FILE_ReadLine's buffer, terminator included.
inline constexpr size_t kLineRoom = 512;

// The room of a path that FILE_TempFilename makes, in characters, terminator included.
inline constexpr size_t kTempPathRoom = 520;

// An open file. It owns the runtime's stream and closes it when it goes out of scope; FILE_Close does so
// with a report. Reading goes through a window of bytes ahead of the position, so that a reader looks at
// many bytes without a call for each; what is written is gathered before it goes to the runtime's stream.
// Used by one caller at a time.
class OsifStream {
 public:
  OsifStream() = default;
  OsifStream(OsifStream&& other) noexcept { Swap(other); }
  OsifStream& operator=(OsifStream&& other) noexcept {
    OsifStream(std::move(other)).Swap(*this);
    return *this;
  }
  ~OsifStream() { HandOver(); }

  bool is_open() const { return file_ != nullptr; }

  // The bytes that are at hand from the position on; empty before the first ReadAhead.
  std::string_view Window() const { return {window_.get() + begin_, end_ - begin_}; }

  enum class Ahead { kMore, kEnd, kNoMemory };
  // Makes the window longer by what the file still has. kEnd marks the end of the file as reached; a read
  // error ends the file too. kNoMemory leaves the window as it was.
  Ahead ReadAhead();

  // Where the first line feed at or after a place in the window stands; for it the window is made longer as
  // far as needed. Without one the window's length at the end of the file, or the limit once so many bytes
  // are at hand. Nothing when memory is short.
  std::optional<size_t> FindLineFeed(size_t from, size_t limit = std::string_view::npos) {
    const size_t found = Window().find('\n', from);
    return found < limit ? found : ReadToLineFeed(from, limit);
  }

  // Moves the position forward over bytes of the window.
  void Skip(size_t count) { begin_ += count; }

  // False once the window has held a zero byte, or a carriage return that no line feed follows.
  bool IsPlain() const { return is_plain_; }

  LineEnd line_end() const { return line_end_; }
  FILE* file() const { return file_.get(); }

 private:
  friend int FILE_Open(OsifStream&, const WCHAR*, const WCHAR*, LineEnd);
  friend int FILE_Close(OsifStream&, const WCHAR*);
  friend int FILE_Seek(OsifStream&, int64_t);
  friend int FILE_SeekEnd(OsifStream&);
  friend int FILE_Tell(int64_t*, const OsifStream&);
  friend int FILE_Eof(const OsifStream&);
  friend int FILE_Write(OsifStream&, std::string_view);
  friend int FILE_Flush(OsifStream&);
  friend void FILE_DoNotBuffer(OsifStream&);

  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  struct Free {
    void operator()(char* bytes) const;
  };

  void Swap(OsifStream& other) noexcept;
  void ForgetWindow();
  bool MakeRoom();
  bool Gather(std::string_view bytes);
  bool HandOver();
  void LookAtNewBytes(size_t count);
  std::optional<size_t> ReadToLineFeed(size_t from, size_t limit);

  std::unique_ptr<FILE, Close> file_;
  std::unique_ptr<char, Free> window_;
  size_t room_ = 0;   // of the window
  size_t begin_ = 0;  // the position in the window
  size_t end_ = 0;    // of the bytes in the window
  bool at_end_ = false;
  bool is_plain_ = true;
  std::unique_ptr<char, Free> gathered_;  // written, but not handed over yet
  size_t gathered_size_ = 0;
  LineEnd line_end_ = LineEnd::kLf;
  bool can_gather_ = false;  // a new file
};

// Opens a file in one of the runtime's modes ("rb", "r", "w", "a+"). On failure the stream is closed.
int FILE_Open(OsifStream& stream, const WCHAR* name, const WCHAR* mode,
              LineEnd line_end = LineEnd::kLf);

// True when the file can be opened for reading. Tells nothing in the trace.
bool FILE_Exists(const WCHAR* name);

// Closes the stream; `name` is for the message. Closing a closed stream is harmless.
int FILE_Close(OsifStream& stream, const WCHAR* name);

// Reads one physical line of at most 511 bytes and cuts it at its first line feed and then at its first
// carriage return. 1 at the end of the file or on a read error; the buffer is then unchanged.
int FILE_ReadLine(char (&buffer)[kLineRoom], OsifStream& stream);

// Writes bytes as they are.
int FILE_Write(OsifStream& stream, std::string_view bytes);

// Writes a text and the stream's line end.
int FILE_WriteLine(OsifStream& stream, std::string_view text);

// Hands what was written to the system, so that it outlives the process.
int FILE_Flush(OsifStream& stream);

// Hands what was written to the system and waits until the disk has it, so that it outlives a power cut.
int FILE_FlushToDisk(OsifStream& stream);

// Makes the file end at a position, at which the stream then is, and forgets an error of the stream; a file that
// ends there is not touched. What the runtime could not write must not come after all: so only what is written
// unbuffered can be cut back.
int FILE_CutBack(OsifStream& stream, int64_t size);

// From now on each write goes to the system as it is. To be called before anything is read or written.
void FILE_DoNotBuffer(OsifStream& stream);

// Positions are bytes from the start of the file. FILE_Tell always returns 0.
int FILE_Tell(int64_t* position, const OsifStream& stream);
int FILE_Rewind(OsifStream& stream);
int FILE_SeekEnd(OsifStream& stream);
int FILE_Seek(OsifStream& stream, int64_t position);

// Reads one byte, or the end-of-file mark (all bits set). Always 0.
int FILE_GetChar(uint32_t* character, OsifStream& stream);

// Non-zero once a read has met the end of the file, or an error.
int FILE_Eof(const OsifStream& stream);

// Non-zero once a read or a write has failed.
int FILE_Error(const OsifStream& stream);

int FILE_Rename(const WCHAR* old_name, const WCHAR* new_name);
int FILE_Remove(const WCHAR* name);

// The last part of a name, in the system's code page, that a peer gave a file, whichever separators it uses: what
// it says of folders does not count, and it must not lead out of the folder in which the file is made. Empty for a
// name of a folder.
WideText FILE_LastPart(std::string_view name);

// Makes the path of a temporary file, kTempPathRoom characters at most: the wanted name (in the system's
// code page; FILE_LastPart of it only) in the folder for temporary files, where nothing is created; or, without
// one, a new empty file of a unique name.
int FILE_TempFilename(const char* wanted_name, WCHAR* path);

// Writes an assertion line to the trace: a call broke its contract. Never stops the process.
void OsifAssert(const char* format, const char* source_file, int line);
