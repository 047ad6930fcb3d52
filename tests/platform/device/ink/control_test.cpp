#include "platform/device/ink/control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>

#include "platform/api/richink.h"
#include "platform/device/ink/reader.h"
#include "platform/device/ink/text.h"
#include "platform/device/ink/writer.h"

namespace control_test {
namespace {

// Hands out the bytes of a text, or as many as asked for.
struct Source {
  std::string bytes;
  size_t block = 1'000'000;  // bytes that a call hands out at most
  DWORD result = 0;          // of the call that follows the last byte
  size_t calls = 0;

  static DWORD CALLBACK Read(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done) {
    auto& source = *reinterpret_cast<Source*>(cookie);
    ++source.calls;
    const size_t count = std::min({source.bytes.size(), source.block, static_cast<size_t>(size)});
    std::copy_n(source.bytes.begin(), count, buffer);
    source.bytes.erase(0, count);
    *done = static_cast<LONG>(count);
    return count == 0 ? source.result : 0;
  }
};

// Keeps the bytes that come.
struct Sink {
  std::string bytes;
  size_t block = 1'000'000;  // bytes that a call takes at most
  size_t room = SIZE_MAX;    // bytes after which it takes none
  LONG largest = 0;

  static DWORD CALLBACK Write(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done) {
    auto& sink = *reinterpret_cast<Sink*>(cookie);
    sink.largest = std::max(sink.largest, size);
    const size_t count = std::min({static_cast<size_t>(size), sink.block, sink.room});
    sink.bytes.append(reinterpret_cast<const char*>(buffer), count);
    sink.room -= count;
    *done = static_cast<LONG>(count);
    return 0;
  }
};

// The bytes of a text with its terminating zero character.
std::string Terminated(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.c_str()), 2 * (text.size() + 1)};
}

HWND Create(LPCWSTR class_name) {
  return CreateWindowW(class_name, nullptr, 0, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                       CW_USEDEFAULT, nullptr, nullptr, nullptr, nullptr);
}

class RichInk : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(InitRichInkDLL(), TRUE);
    window_ = Create(u"RichInk");
    ASSERT_NE(window_, nullptr);
  }
  void TearDown() override { DestroyWindow(window_); }

  LRESULT Send(UINT message, WPARAM format, EDITSTREAM& stream) {
    return SendMessageW(window_, message, format, reinterpret_cast<LPARAM>(&stream));
  }

  // Gives the number of characters; `error` is what the stream is left with.
  LRESULT StreamIn(Source source, DWORD* error = nullptr) {
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&source), 99, Source::Read};
    const LRESULT result = Send(EM_STREAMIN, 17, stream);
    (error != nullptr ? *error : error_) = stream.dwError;
    return result;
  }

  std::string StreamOut() {
    Sink sink;
    StreamOut(sink);
    return sink.bytes;
  }

  LRESULT StreamOut(Sink& sink, DWORD* error = nullptr) {
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&sink), 99, Sink::Write};
    const LRESULT result = Send(EM_STREAMOUT, 67586, stream);
    (error != nullptr ? *error : error_) = stream.dwError;
    return result;
  }

  HWND window_ = nullptr;
  DWORD error_ = 99;
};

// ---- Windows -----------------------------------------------------------------------------------

class RichInkClass : public testing::Test {
 protected:
  void SetUp() override { was_known_ = device::SetRichInkClass(false); }
  void TearDown() override { device::SetRichInkClass(was_known_); }

 private:
  bool was_known_ = false;
};

TEST_F(RichInkClass, HasNoWindowsBeforeItIsMadeKnown) {
  EXPECT_EQ(Create(u"RichInk"), nullptr);
  EXPECT_EQ(GetLastError(), 1407u);
}

TEST_F(RichInkClass, IsKnownAfterItsInitialisationAndStaysSo) {
  InitRichInkDLL();
  InitRichInkDLL();
  const HWND window = Create(u"RichInk");
  EXPECT_NE(window, nullptr);
  EXPECT_EQ(DestroyWindow(window), TRUE);
  EXPECT_TRUE(device::SetRichInkClass(false));
  EXPECT_FALSE(device::SetRichInkClass(false));
}

TEST_F(RichInkClass, LeavesItsWindowsAliveWhenItIsTakenAway) {
  InitRichInkDLL();
  const HWND window = Create(u"RichInk");
  device::SetRichInkClass(false);
  EXPECT_EQ(DestroyWindow(window), TRUE);
}

TEST_F(RichInk, IsFoundInAnyCase) {
  const HWND other = Create(u"RICHINK");
  EXPECT_NE(other, nullptr);
  DestroyWindow(other);
}

TEST_F(RichInk, IsTheOnlyClass) {
  constexpr LPCWSTR kNone = nullptr;
  for (LPCWSTR name : {u"RichInk2", u"RichIn", u"Edit", u"", kNone}) {
    EXPECT_EQ(Create(name), nullptr);
    EXPECT_EQ(GetLastError(), 1407u);
  }
}

TEST_F(RichInk, WindowsKeepTheirOwnTexts) {
  const HWND first = window_;
  StreamIn({Terminated(u"first")});
  window_ = Create(u"RichInk");
  StreamIn({Terminated(u"second")});
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"second");
  DestroyWindow(window_);
  window_ = first;
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"first");
}

TEST_F(RichInk, IsGoneWhenDestroyed) {
  const HWND window = Create(u"RichInk");
  EXPECT_EQ(DestroyWindow(window), TRUE);
  EXPECT_EQ(DestroyWindow(window), FALSE);
  EXPECT_EQ(GetLastError(), 1400u);
  SetLastError(0);
  EDITSTREAM stream = {0, 0, Source::Read};
  EXPECT_EQ(SendMessageW(window, EM_STREAMIN, 17, reinterpret_cast<LPARAM>(&stream)), 0);
  EXPECT_EQ(GetLastError(), 1400u);
  EXPECT_EQ(DestroyWindow(nullptr), FALSE);
}

TEST_F(RichInk, IgnoresOtherMessages) {
  StreamIn({Terminated(u"text")});
  EXPECT_EQ(SendMessageW(window_, 12, 0, 0), 0);
  EXPECT_EQ(SendMessageW(window_, EM_STREAMIN, 17, 0), 0);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"text");
}

// ---- Streams -----------------------------------------------------------------------------------

TEST_F(RichInk, HasTheMessagesAndFormatsOfTheHandheld) {
  EXPECT_EQ(EM_STREAMIN, 1097u);
  EXPECT_EQ(EM_STREAMOUT, 1098u);
  EXPECT_EQ(SF_TEXT | SF_UNICODE, 17u);
  EXPECT_EQ(SF_PWI, 67586u);
}

TEST_F(RichInk, IsAnEmptyDocumentAtFirst) { EXPECT_EQ(StreamOut(), device::WriteInkDocument(u"")); }

TEST_F(RichInk, TurnsTextIntoADocument) {
  EXPECT_EQ(StreamIn({Terminated(u"Gr\u00FC\u00DFe\n\u6F22\u5B57")}), 8);
  EXPECT_EQ(error_, 0u);
  const std::string document = StreamOut();
  EXPECT_EQ(error_, 0u);
  EXPECT_EQ(document, device::WriteInkDocument(u"Gr\u00FC\u00DFe\n\u6F22\u5B57"));
}

TEST_F(RichInk, EndsTheTextAtItsFirstZeroCharacter) {
  EXPECT_EQ(StreamIn({Terminated(u"note") + Terminated(u"more")}), 4);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"note");
}

TEST_F(RichInk, TakesATextWithoutAZeroCharacterToo) {
  EXPECT_EQ(StreamIn({std::string("n\0o\0", 4)}), 2);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"no");
}

TEST_F(RichInk, TakesTheEmptyTextAndNoBytesAlike) {
  EXPECT_EQ(StreamIn({Terminated(u"")}), 0);
  EXPECT_EQ(StreamOut(), device::WriteInkDocument(u""));
  EXPECT_EQ(StreamIn({""}), 0);
  EXPECT_EQ(StreamOut(), device::WriteInkDocument(u""));
}

TEST_F(RichInk, DropsAHalfCharacterAtTheEnd) {
  EXPECT_EQ(StreamIn({std::string("a\0b", 3)}), 1);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"a");
}

TEST_F(RichInk, ReplacesTheTextThatWasThere) {
  StreamIn({Terminated(u"a long first text")});
  StreamIn({Terminated(u"second")});
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"second");
}

TEST_F(RichInk, TakesBlocksOfAnySize) {
  const std::u16string text(10000, u'\u20AC');
  for (size_t block : {1u, 3u, 4095u, 4096u}) {
    EXPECT_EQ(StreamIn({Terminated(text), block}), 10000) << block;
    EXPECT_EQ(device::ReadInkDocument(StreamOut()), text) << block;
  }
}

TEST_F(RichInk, HandsOutTheSameBytesInBlocksOfAnySize) {
  StreamIn({Terminated(std::u16string(10000, u'\u20AC'))});
  const std::string whole = StreamOut();
  for (size_t block : {1u, 1000u}) {
    Sink sink{{}, block};
    EXPECT_EQ(StreamOut(sink), static_cast<LRESULT>(whole.size()));
    EXPECT_EQ(sink.bytes, whole);
    EXPECT_LE(sink.largest, 4096);
  }
}

TEST_F(RichInk, CarriesANoteOfAMegabyte) {
  std::u16string text;
  while (text.size() < 1 << 20) text += u"A line of a note, \u6F22\u5B57\r\n";
  EXPECT_EQ(StreamIn({Terminated(text), 1'000'000}), static_cast<LRESULT>(text.size()));
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), text);
}

TEST_F(RichInk, KeepsWhatCameBeforeItsReaderFailed) {
  DWORD error = 0;
  EXPECT_EQ(StreamIn({std::string("a\0b\0", 4), 2, 123}, &error), 2);
  EXPECT_EQ(error, 123u);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"ab");
}

TEST_F(RichInk, StopsWhenItsWriterTakesNothing) {
  Sink sink{{}, 1'000'000, 300};
  DWORD error = 0;
  EXPECT_EQ(StreamOut(sink, &error), 300);
  EXPECT_EQ(error, 0x80004005u);
}

TEST_F(RichInk, StopsWithTheErrorOfItsWriter) {
  EDITSTREAM stream = {0, 0, [](DWORD_PTR, LPBYTE, LONG, LONG*) -> DWORD { return 112; }};
  EXPECT_EQ(Send(EM_STREAMOUT, 67586, stream), 0);
  EXPECT_EQ(stream.dwError, 112u);
}

TEST_F(RichInk, RefusesImpossibleNumbersOfItsCallbacks) {
  EDITSTREAM too_many = {0, 0, [](DWORD_PTR, LPBYTE, LONG size, LONG* done) -> DWORD {
                           *done = size + 1;
                           return 0;
                         }};
  EXPECT_EQ(Send(EM_STREAMIN, 17, too_many), 0);
  EXPECT_EQ(too_many.dwError, 0x80004005u);
  EXPECT_EQ(Send(EM_STREAMOUT, 67586, too_many), 0);
  EXPECT_EQ(too_many.dwError, 0x80004005u);
  EDITSTREAM negative = {0, 0, [](DWORD_PTR, LPBYTE, LONG, LONG* done) -> DWORD {
                           *done = -1;
                           return 0;
                         }};
  EXPECT_EQ(Send(EM_STREAMIN, 17, negative), 0);
  EXPECT_EQ(negative.dwError, 0x80004005u);
}

TEST_F(RichInk, RefusesOtherFormatsAndMissingCallbacks) {
  StreamIn({Terminated(u"text")});
  EDITSTREAM stream = {0, 0, Source::Read};
  EXPECT_EQ(Send(EM_STREAMIN, SF_TEXT, stream), 0);
  EXPECT_EQ(stream.dwError, 0x80070057u);
  stream.dwError = 0;
  EXPECT_EQ(Send(EM_STREAMOUT, 17, stream), 0);
  EXPECT_EQ(stream.dwError, 0x80070057u);
  EDITSTREAM missing = {0, 0, nullptr};
  EXPECT_EQ(Send(EM_STREAMIN, 17, missing), 0);
  EXPECT_EQ(missing.dwError, 0x80070057u);
  EXPECT_EQ(device::ReadInkDocument(StreamOut()), u"text");
}

TEST_F(RichInk, ReportsThatMemoryIsShort) {
  EDITSTREAM stream = {0, 0,
                       [](DWORD_PTR, LPBYTE, LONG, LONG*) -> DWORD { throw std::bad_alloc(); }};
  EXPECT_EQ(Send(EM_STREAMIN, 17, stream), 0);
  EXPECT_EQ(stream.dwError, 0x8007000Eu);
}

// An endless text. The bytes are counted in the cookie.
DWORD CALLBACK ReadForEver(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* done) {
  std::fill_n(buffer, size, BYTE{'x'});
  *reinterpret_cast<size_t*>(cookie) += static_cast<size_t>(size);
  *done = size;
  return 0;
}

TEST_F(RichInk, TakesNoMoreThanItsLimit) {
  size_t bytes = 0;
  EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&bytes), 0, ReadForEver};
  EXPECT_EQ(Send(EM_STREAMIN, 17, stream), 32'000'000);
  EXPECT_EQ(stream.dwError, 0x8007000Eu);
  EXPECT_LE(bytes, 64'000'000u + 4096u);
}

}  // namespace
}  // namespace control_test
