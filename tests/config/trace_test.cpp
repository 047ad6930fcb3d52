#include "config/trace.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "platform/api/last_error.h"
#include "tests/support/registry_values.h"
#include "tests/support/temp_device.h"

// The system's calls that the trace makes are watched here: these stand in for the C library's.
namespace {

struct Call {
  int socket;
  uint32_t address;
  uint16_t port;
  socklen_t address_size;
  int flags;
  std::string datagram;
};

struct Bound {
  int socket;
  sockaddr_in address;
};

std::vector<Call> calls;
std::vector<Bound> bounds;
std::vector<std::vector<int>> sockets;  // family, type and protocol of each
bool records_calls = true;
int send_count = 0;
bool bind_fails = false;
bool socket_fails = false;
int allocations = 0;

}  // namespace

extern "C" ssize_t sendto(int handle, const void* data, size_t size, int flags, const sockaddr* to,
                          socklen_t to_size) {
  ++send_count;
  if (records_calls) {
    const auto* address = reinterpret_cast<const sockaddr_in*>(to);
    calls.push_back({handle, ntohl(address->sin_addr.s_addr), ntohs(address->sin_port), to_size,
                     flags, std::string(static_cast<const char*>(data), size)});
  }
  return syscall(SYS_sendto, handle, data, size, flags, to, to_size);
}

extern "C" int bind(int handle, const sockaddr* address, socklen_t size) noexcept {
  if (bind_fails) {
    errno = EADDRINUSE;
    return -1;
  }
  bounds.push_back({handle, *reinterpret_cast<const sockaddr_in*>(address)});
  return static_cast<int>(syscall(SYS_bind, handle, address, size));
}

extern "C" int socket(int family, int type, int protocol) noexcept {
  if (socket_fails) {
    errno = EMFILE;
    return -1;
  }
  sockets.push_back({family, type, protocol});
  return static_cast<int>(syscall(SYS_socket, family, type, protocol));
}

// Not inlined: the compiler would take the frees for mistakes.
__attribute__((noinline)) void* operator new(size_t size) {
  ++allocations;
  if (void* block = std::malloc(size == 0 ? 1 : size); block != nullptr) return block;
  throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* block) noexcept { std::free(block); }
__attribute__((noinline)) void operator delete(void* block, size_t) noexcept { std::free(block); }

// Under the sanitizers the C library's allocations are seen too.
extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(const volatile void*,
                                                                               size_t) {
  ++allocations;
}

namespace {

constexpr char16_t kDebug[] = u"Software\\Corvane\\BTConfig\\Debug";

// Two loopback addresses of this process's own, since tests run side by side.
const uint32_t kReceiver =
    127u << 24 | 64u << 16 | (static_cast<uint32_t>(getpid()) & 0x1FFFFF) << 1;
const uint32_t kOtherReceiver = kReceiver | 1;

void TurnTo(uint32_t address) {
  support::SetNumber(kDebug, u"LogIPAddr", address);
  OSIF_TraceInit();
}

// A program that listens on a loopback address.
class Receiver {
 public:
  explicit Receiver(uint32_t address) : socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(38182);
    local.sin_addr.s_addr = htonl(address);
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&local), sizeof(local)), 0);
    const timeval limit{2, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  }
  ~Receiver() { close(socket_); }

  // The next datagram; "nothing" when none comes.
  std::string Next() {
    char buffer[2000];
    const ssize_t size = recv(socket_, buffer, sizeof(buffer), 0);
    return size < 0 ? "nothing" : std::string(buffer, static_cast<size_t>(size));
  }
  bool IsEmpty() {
    char byte = 0;
    return recv(socket_, &byte, 1, MSG_DONTWAIT) < 0;
  }

 private:
  int socket_;
};

class Trace : public TempDeviceTest {
 protected:
  void SetUp() override {
    calls.clear();
    bounds.clear();
    sockets.clear();
    send_count = 0;
  }
  void TearDown() override {
    TurnTo(0);
    bind_fails = socket_fails = false;
    records_calls = true;
  }

  template <typename... Arguments>
  std::string Text(const char* format, Arguments... arguments) {
    calls.clear();
    OSIF_Trace(0, format, arguments...);
    return calls.at(0).datagram.substr(8);
  }
};

// ---- Datagrams ---------------------------------------------------------------------------------

TEST_F(Trace, ALineArrivesAsOneDatagramWithItsHeader) {
  Receiver receiver(kReceiver);
  TurnTo(kReceiver);
  OSIF_Trace(0, "OSIF:  %d objects", 3);
  EXPECT_EQ(receiver.Next(), std::string("\0\0\x10\0\0\0\0\0", 8) + "OSIF:  3 objects");
  EXPECT_TRUE(receiver.IsEmpty());
}

TEST_F(Trace, TellsWhetherLinesGoAnywhere) {
  TurnTo(kReceiver);
  EXPECT_TRUE(OSIF_IsTraced());
  TurnTo(0);
  EXPECT_FALSE(OSIF_IsTraced());
}

TEST_F(Trace, CategoryAndLengthAreLittleEndian) {
  OSIF_Trace(0x1234, "%s", std::string(300, 'x').c_str());
  EXPECT_EQ(calls.at(0).datagram.substr(0, 8), std::string("\x34\x12\x2C\x01\0\0\0\0", 8));
}

TEST_F(Trace, AnEmptyTextIsADatagramOfEightBytesWithLengthZero) {
  Receiver receiver(kReceiver);
  TurnTo(kReceiver);
  OSIF_Trace(0, "");
  EXPECT_EQ(receiver.Next(), std::string(8, '\0'));
}

TEST_F(Trace, LineEndsAreSentOnlyWhereTheFormatHasThem) {
  EXPECT_EQ(Text("ASSERT at %s line %d\n", "btosif/osif", 7), "ASSERT at btosif/osif line 7\n");
}

TEST_F(Trace, EveryLineIsOneCallToThePortOfTheReceiver) {
  TurnTo(kReceiver);
  OSIF_Trace(0, "one");
  OSIF_Trace(0, "two");
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].address, kReceiver);
  EXPECT_EQ(calls[0].port, 38182);
  EXPECT_EQ(calls[0].address_size, 16u);
  EXPECT_EQ(calls[0].flags, 0);
  EXPECT_GE(calls[0].socket, 0);
}

TEST_F(Trace, ItsSocketIsOneForDatagramsBoundToAnyLocalAddressAndPort) {
  TurnTo(kReceiver);
  EXPECT_EQ(sockets, (std::vector<std::vector<int>>{{AF_INET, SOCK_DGRAM, 0}}));
  OSIF_Trace(0, "line");
  ASSERT_EQ(bounds.size(), 1u);
  EXPECT_EQ(bounds[0].socket, calls.at(0).socket);
  EXPECT_EQ(bounds[0].address.sin_family, AF_INET);
  EXPECT_EQ(bounds[0].address.sin_addr.s_addr, INADDR_ANY);
  EXPECT_EQ(bounds[0].address.sin_port, 0);
}

TEST_F(Trace, WithoutAnAddressNoSocketIsCreatedAndALineIsFormattedAndSentToNowhere) {
  OSIF_TraceInit();
  EXPECT_TRUE(sockets.empty());
  OSIF_Trace(0, "line %d", 1);
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].socket, -1);
  EXPECT_EQ(calls[0].datagram.substr(8), "line 1");
}

TEST_F(Trace, TheFirstOctetIsTheMostSignificantByte) {
  support::SetNumber(kDebug, u"LogIPAddr", 0x7F4D0102);
  OSIF_TraceInit();
  OSIF_Trace(0, "line");
  EXPECT_EQ(calls.at(0).address, 127u << 24 | 77u << 16 | 1u << 8 | 2u);
}

TEST_F(Trace, TheStoredTypeOfTheAddressIsNotChecked) {
  support::SetValue(kDebug, u"LogIPAddr", REG_BINARY, "\x03\x00\x4D\x7F", 4);
  OSIF_TraceInit();
  OSIF_Trace(0, "line");
  EXPECT_EQ(calls.at(0).address, 0x7F4D0003u);
}

TEST_F(Trace, AnAddressOfMoreThanFourBytesCountsAsNone) {
  support::SetValue(kDebug, u"LogIPAddr", REG_BINARY, "\x03\x00\x4D\x7F\x00", 5);
  OSIF_TraceInit();
  OSIF_Trace(0, "line");
  EXPECT_EQ(calls.at(0).socket, -1);
}

// ---- Start -------------------------------------------------------------------------------------

bool IsOpen(int handle) {
  sockaddr_in address{};
  socklen_t size = sizeof(address);
  return getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size) == 0;
}

int SocketOfALine() {
  calls.clear();
  OSIF_Trace(0, "line");
  return calls.at(0).socket;
}

TEST_F(Trace, AnUnchangedAddressKeepsItsSocket) {
  TurnTo(kReceiver);
  const int first = SocketOfALine();
  socket_fails = true;  // a new socket would not open
  OSIF_TraceInit();
  EXPECT_EQ(SocketOfALine(), first);
}

TEST_F(Trace, AChangedAddressClosesTheOldSocketAndBindsANewOne) {
  Receiver old_receiver(kReceiver);
  Receiver new_receiver(kOtherReceiver);
  TurnTo(kReceiver);
  const int first = SocketOfALine();
  old_receiver.Next();
  const int place_holder = dup(0);
  TurnTo(kOtherReceiver);
  OSIF_Trace(0, "to the other");
  EXPECT_EQ(new_receiver.Next().substr(8), "to the other");
  EXPECT_TRUE(old_receiver.IsEmpty());
  const int second = SocketOfALine();
  EXPECT_TRUE(first == second || !IsOpen(first));
  EXPECT_EQ(bounds.back().socket, second);
  close(place_holder);
}

TEST_F(Trace, AnAddressOfZeroClosesTheSocket) {
  TurnTo(kReceiver);
  const int open = SocketOfALine();
  EXPECT_TRUE(IsOpen(open));
  TurnTo(0);
  EXPECT_FALSE(IsOpen(open));
  EXPECT_EQ(SocketOfALine(), -1);
}

TEST_F(Trace, ARemovedAddressClosesTheSocket) {
  TurnTo(kReceiver);
  EXPECT_EQ(RegDeleteValueW(support::CreateKey(kDebug), u"LogIPAddr"), ERROR_SUCCESS);
  OSIF_TraceInit();
  EXPECT_EQ(SocketOfALine(), -1);
}

TEST_F(Trace, TurnedOffAndOnAgainTheTraceArrivesAtTheSameReceiver) {
  Receiver receiver(kReceiver);
  TurnTo(kReceiver);
  TurnTo(0);
  TurnTo(kReceiver);
  OSIF_Trace(0, "again");
  EXPECT_EQ(receiver.Next().substr(8), "again");
}

TEST_F(Trace, AChangeOfTheAddressCountsAtTheNextStartOnly) {
  TurnTo(kReceiver);
  support::SetNumber(kDebug, u"LogIPAddr", kOtherReceiver);
  OSIF_Trace(0, "line");
  EXPECT_EQ(calls.at(0).address, kReceiver);
}

TEST_F(Trace, WithoutASocketLinesAreLostSilently) {
  socket_fails = true;
  TurnTo(kReceiver);
  EXPECT_EQ(SocketOfALine(), -1);
}

TEST_F(Trace, ASocketThatCannotBeBoundIsForgottenButNotClosed) {
  const int next = dup(0);  // the number that the socket will get
  close(next);
  bind_fails = true;
  support::SetNumber(kDebug, u"LogIPAddr", kReceiver);
  OSIF_TraceInit();
  EXPECT_EQ(SocketOfALine(), -1);
  bool is_left_open = false;
  for (int handle = next; handle < next + 20; ++handle) {
    if (IsOpen(handle)) is_left_open = close(handle) == 0;
  }
  EXPECT_TRUE(is_left_open);
}

TEST_F(Trace, StartingAgainAndAgainKeepsOneSocket) {
  TurnTo(kReceiver);
  const int before = dup(0);
  close(before);
  for (int i = 0; i < 1000; ++i) OSIF_TraceInit();
  const int after = dup(0);
  close(after);
  EXPECT_EQ(before, after);
}

// ---- Formats -----------------------------------------------------------------------------------

TEST_F(Trace, NumbersAreFormattedAsPrintfDoes) {
  EXPECT_EQ(Text("%d %i %u", -5, 7, 4000000000u), "-5 7 4000000000");
  EXPECT_EQ(Text("0x%08x %X %#x", 0x80004005u, 0xABCu, 255u), "0x80004005 ABC 0xff");
  EXPECT_EQ(Text("[%5d] [%-5d] [%05d] [%+d] [% d]", 42, 42, 42, 42, 42),
            "[   42] [42   ] [00042] [+42] [ 42]");
  EXPECT_EQ(Text("%4.4d %.3d", 7, 7), "0007 007");
  EXPECT_EQ(Text("[%*d] [%-*d] [%*d]", 5, 42, 5, 42, -5, 42), "[   42] [42   ] [42   ]");
  EXPECT_EQ(Text("%.*d", 4, 42), "0042");
  EXPECT_EQ(Text("[%12d] [%.11d] [%-13s]", 7, 7, "x"),
            "[           7] [00000000007] [x            ]");
}

TEST_F(Trace, LengthModifiersTakeTheirArguments) {
  EXPECT_EQ(Text("%ld %lu %lld %llx", -1L, 2UL, -3LL, 0x123456789ABCULL), "-1 2 -3 123456789abc");
  EXPECT_EQ(Text("%zu %hd %hhu %d", size_t{5}, 70000, 257, 9), "5 4464 1 9");
}

TEST_F(Trace, CharactersPercentAndPointersAreFormatted) {
  EXPECT_EQ(Text("%c%c 100%%", 'a', 'b'), "ab 100%");
  EXPECT_EQ(Text("[%3c]", 'a'), "[  a]");
  EXPECT_EQ(Text("%p", reinterpret_cast<void*>(uintptr_t{0x12AB})), "0x12ab");
}

TEST_F(Trace, NarrowTextsAreBytes) {
  EXPECT_EQ(Text("'%s' [%5s] [%-5s] [%.2s]", "M\xFCller", "ab", "ab", "abc"),
            "'M\xFCller' [   ab] [ab   ] [ab]");
}

TEST_F(Trace, ANarrowTextWithAPrecisionNeedsNoTerminator) {
  const char text[3] = {'a', 'b', 'c'};
  EXPECT_EQ(Text("%.3s", static_cast<const char*>(text)), "abc");
}

TEST_F(Trace, WideTextsAreSentInTheSystemsCodePage) {
  support::SetSystemCodePage(1252);
  OSIF_TraceInit();
  EXPECT_EQ(Text("'%S'", u"M\u00FCller"), "'M\xFCller'");
  support::SetSystemCodePage(65001);
  OSIF_TraceInit();
  EXPECT_EQ(Text("'%S' %ls", u"M\u00FCller", u"\U0001F600"), "'M\xC3\xBCller' \xF0\x9F\x98\x80");
}

TEST_F(Trace, AWideTextArrivesAsEightBitText) {
  support::SetSystemCodePage(1252);
  Receiver receiver(kReceiver);
  TurnTo(kReceiver);
  OSIF_Trace(0, "OSIF:  Unable to open file '%S' in mode '%S'", u"M\u00FCller.vcf", u"rb");
  EXPECT_EQ(receiver.Next().substr(8), "OSIF:  Unable to open file 'M\xFCller.vcf' in mode 'rb'");
  EXPECT_TRUE(receiver.IsEmpty());
}

TEST_F(Trace, WideTextsHaveWidthAndPrecision) {
  EXPECT_EQ(Text("[%5S] [%-5S] [%.2S]", u"ab", u"ab", u"abc"), "[   ab] [ab   ] [ab]");
}

TEST_F(Trace, LongWideTextsAreSentWhole) {
  support::SetSystemCodePage(65001);
  OSIF_TraceInit();
  std::u16string wide;
  std::string narrow;
  for (int i = 0; i < 100; ++i) {
    wide += u"a\U0001F600";
    narrow += "a\xF0\x9F\x98\x80";
  }
  EXPECT_EQ(Text("%S", wide.c_str()), narrow);
}

TEST_F(Trace, NullTextsReadNull) {
  EXPECT_EQ(Text("%s %S", static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr)),
            "(null) (null)");
  EXPECT_EQ(Text(nullptr), "");
}

TEST_F(Trace, AFormatThatEndsWithinAConversionEndsTheLine) {
  EXPECT_EQ(Text("a%"), "a");
  EXPECT_EQ(Text("a%-5.2l"), "a");
}

TEST_F(Trace, HugeWidthsAreHeldAtTheLengthOfALine) {
  EXPECT_EQ(Text("%99999999999d", 1).size(), 991u);
  EXPECT_EQ(Text("%.99999999999d", 1).size(), 991u);
  EXPECT_EQ(Text("%99999999999s", "x").size(), 991u);
}

TEST_F(Trace, ALineOf990CharactersIsSentWhole) {
  const std::string text(990, 'x');
  EXPECT_EQ(Text("%s", text.c_str()), text);
  EXPECT_EQ(Text("%S", std::u16string(990, u'x').c_str()), text);
}

TEST_F(Trace, ALineOf991CharactersIsSentWhole) {
  const std::string text(991, 'x');
  EXPECT_EQ(Text("%s", text.c_str()), text);
  EXPECT_EQ(Text(text.c_str()), text);
}

TEST_F(Trace, ALineOf992CharactersIsCut) {
  const std::string text(992, 'x');
  EXPECT_EQ(Text("%s", text.c_str()), text.substr(1));
  EXPECT_EQ(Text("%sab%d", text.substr(2).c_str(), 5), text.substr(2) + "a");
  EXPECT_EQ(Text("%S", std::u16string(5000, u'x').c_str()), text.substr(1));
  EXPECT_EQ(calls.at(0).datagram.substr(2, 2), "\xDF\x03");
}

// ---- Promises ----------------------------------------------------------------------------------

TEST_F(Trace, ALineAllocatesNothingAndIsOneCall) {
  support::SetSystemCodePage(1252);
  TurnTo(kReceiver);
  OSIF_Trace(0, "%S", u"\u00FC");  // opens the converter
  records_calls = false;
  send_count = 0;
  const int before = allocations;
  OSIF_Trace(0, "OSIF:  %s %S %d %p", "narrow", u"w\u00EFde", 5, static_cast<void*>(nullptr));
  EXPECT_EQ(allocations, before);
  EXPECT_EQ(send_count, 1);
}

TEST_F(Trace, ALineLeavesTheErrorsOfItsCallerAlone) {
  SetLastError(183);
  errno = ENOENT;
  OSIF_Trace(0, "line");  // sendto fails
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(GetLastError(), 183u);
}

TEST_F(Trace, ADeviceThatCannotBeUsedMeansNoReceiver) {
  TurnTo(kReceiver);
  {
    const TempEnvironment environment("OSIF_DEVICE", "/dev/null/device");
    OSIF_TraceInit();
    EXPECT_EQ(SocketOfALine(), -1);
  }
}

}  // namespace
