// A client of the Object Exchange protocol, as another maker would have written it: it shares nothing with the service.
// It can say whatever a test wants said, and waits for no answer longer than a minute.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace support {

// ---- Headers, as bytes ------------------------------------------------------------------------------------------

std::string ObexName(std::string_view ascii);
std::string ObexText(uint8_t id, std::u16string_view text);
std::string ObexBytes(uint8_t id, std::string_view bytes);
std::string ObexNumber(uint8_t id, uint32_t number);
inline std::string ObexType(const std::string& type) { return ObexBytes(0x42, type + '\0'); }
inline std::string ObexLength(size_t length) {
  return ObexNumber(0xC3, static_cast<uint32_t>(length));
}

// A tag, the length of its value, and the value.
std::string ObexTag(uint8_t tag, std::string_view value);
// Application parameters.
inline std::string ObexParameters(std::string_view tags) { return ObexBytes(0x4C, tags); }

// ---- Answers ----------------------------------------------------------------------------------------------------

struct ObexAnswer {
  int code = -1;        // -1: none came, the connection is closed
  std::string headers;  // of all packets of the answer, without the fields of CONNECT
  std::string body;
  int longest_packet = 0;  // that the service told in its answer to CONNECT

  // The value of the first header of this kind; nothing without one.
  std::optional<std::string> Find(uint8_t id) const;
  // The value of a tag in the application parameters; empty without it.
  std::string Parameter(uint8_t tag) const;
  std::string luid() const { return Parameter(0x01); }
  std::string counter() const { return Parameter(0x02); }
};

class ObexClient {
 public:
  // A connection to this port of the loopback address.
  explicit ObexClient(int port);
  // A connected descriptor, which becomes its own.
  static ObexClient Of(int handle) { return ObexClient(Adopted{handle}); }
  ~ObexClient();
  ObexClient(ObexClient&& other) noexcept;
  ObexClient& operator=(ObexClient&&) = delete;

  ObexAnswer Connect(std::string_view target = {}, std::string_view more_headers = {});
  ObexAnswer ConnectToSync() { return Connect("IRMC-SYNC"); }
  ObexAnswer Disconnect() { return Exchange(0x81, {}); }

  // The body in packets that the service can take, then an empty end of the body.
  ObexAnswer Put(std::string_view name, std::string_view body, std::string_view more_headers = {});
  // PUT of these headers in one packet.
  ObexAnswer PutHeaders(std::string_view headers) { return Exchange(0x82, headers); }
  // PUT without a body, after which an object is gone.
  ObexAnswer Delete(std::string_view name, std::string_view more_headers = {});

  ObexAnswer Get(std::string_view name, std::string_view more_headers = {});
  ObexAnswer GetHeaders(std::string_view headers);

  // One packet, and the answer to it.
  ObexAnswer Exchange(uint8_t opcode, std::string_view rest);

  void Send(std::string_view bytes);
  ObexAnswer Receive(bool is_of_connect = false);
  // True when the service closes the connection.
  bool AwaitClose();
  void Close();
  int handle() const { return handle_; }

 private:
  struct Adopted {
    int handle;
  };
  explicit ObexClient(Adopted adopted) : handle_(adopted.handle) {}
  bool ReadAll(char* into, size_t size);
  std::string First(std::string_view headers) const;

  int handle_;
  size_t room_ = 255;          // of a packet, as the service told
  std::string connection_id_;  // the header; empty without one
};

}  // namespace support
