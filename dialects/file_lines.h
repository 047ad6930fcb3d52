// The physical lines of a file of any size, in UTF-8 where the file is UTF-16, read once and in pieces.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace dialects {

// Fills a place with the next bytes of a file and returns how many there are; 0 at the file's end.
using ByteSource = std::function<size_t(char* into, size_t room)>;

// The bytes of a file that is open for reading. The file outlives the source.
ByteSource BytesOf(std::FILE* file);

// The bytes of a source as text: without a byte order mark, and in UTF-8 where they are UTF-16, which a byte
// order mark says, or every second byte of the first eight, which is 0 then.
class TextSource {
 public:
  explicit TextSource(ByteSource bytes);

  // Appends the next bytes to what stands at `into`, of which at least kLeastRoom are free. Returns how many;
  // 0 at the end.
  size_t Read(char* into, size_t room);

  // True when the text is known to be UTF-8, by a byte order mark or because it was UTF-16. Known after the
  // first Read.
  bool is_utf8() const { return is_utf8_; }

  static constexpr size_t kLeastRoom = 64;

 private:
  enum class Width { kBytes, kUtf16Little, kUtf16Big };

  void Begin();
  size_t ReadBytes(char* into, size_t room);
  size_t ReadUtf16(char* into, size_t room);

  ByteSource bytes_;
  bool has_begun_ = false;
  bool is_utf8_ = false;
  Width width_ = Width::kBytes;
  std::string
      first_;         // bytes that were read to find out about the file and have not been given yet
  std::string half_;  // of a character of UTF-16 that the bytes so far end in
};

struct FileLine {
  std::string_view bytes;  // with its line end, until the next one is read
  uint64_t number = 1;
  bool is_whole_start = true;  // false: goes on with a line that was too long to be given at once
};

// Gives line after line. LF, CR LF, CR CR LF and a lone CR end one. A line of more than kLongestPiece bytes
// is given in pieces.
class FileLines {
 public:
  static constexpr size_t kLongestPiece = size_t{256} * 1024;

  explicit FileLines(ByteSource bytes);

  // False at the end of the file.
  bool Next(FileLine& line);

  // Has lines that were given read again: `text` goes from the start of the line of that number to the end of
  // the last line that was given. Costs as much as the text is long.
  void Unread(std::string_view text, uint64_t number);

  // What has been read and not been given yet: the start of a line, and as much after it as happens to be there. Empty
  // within a line that is given in pieces, and at the end of the file.
  std::string_view Ahead();

  // Passes over whole lines of what lies ahead.
  void Skip(size_t bytes, uint64_t lines);

  // The number of the line that comes next.
  uint64_t next() const { return number_ + 1; }

  bool is_utf8() const { return source_.is_utf8(); }

 private:
  bool Fill();
  size_t Find(char wanted, size_t& known) const;
  size_t LineEndLength(size_t place) const;
  void Give(size_t length, FileLine& line);
  void ForgetAfter(char wanted, size_t length, size_t& known) const;

  TextSource source_;
  std::string buffer_;
  size_t place_ = 0;  // where the next line begins in the buffer
  size_t end_ = 0;    // of what was read into it
  // Where the next LF and the next CR lie, or the end: each byte is looked at once, also where a file has
  // only one of them.
  size_t next_line_feed_ = 0;
  size_t next_return_ = 0;
  bool has_ended_ = false;
  bool was_cut_ = false;  // the line that was given last goes on
  uint64_t number_ = 0;   // of the line that was given last
};

}  // namespace dialects
