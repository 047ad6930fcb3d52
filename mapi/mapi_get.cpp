// The properties that a record has a field for are asked for at once; the body comes through a stream and the
// recipients through a table of their own. Only when the properties cannot be had is there no record: a
// message whose body or recipients cannot be read is still worth sending, and the trace says what it lacks.
//
// Texts go into the record in the system's code page, cut where their field ends; the body keeps its
// characters, since its part names the character set that it is in.
#include "mapi/mapi_get.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>

#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "config/trace.h"
#include "mapi/mapi_body.h"
#include "mapi/mapi_buffer.h"
#include "platform/api/codepage.h"
#include "platform/api/com_ptr.h"

namespace {

constexpr ULONG kSubject = 0;
constexpr ULONG kDeliveryTime = 1;
constexpr ULONG kFlags = 2;
constexpr ULONG kSender = 3;
constexpr ULONG kProperties = 4;
constexpr LONG kMostRecipients = 10;
constexpr uint64_t kLargestBody = INT32_MAX;  // bytes

// The text of a property; empty when it is missing.
WideView mapi_GetString(const SPropValue& value) {
  const ULONG type = PROP_TYPE(value.ulPropTag);
  if (type == PT_UNICODE) return value.Value.lpszW == nullptr ? WideView() : value.Value.lpszW;
  if (type != PT_ERROR) {
    OSIF_Trace(0, "WAB:  'mapi_GetString' used when not a unicode string (%d)", type);
  }
  return {};
}

// Into a field, in the system's code page, as much as fits.
template <size_t kRoom>
void CopyAnsi(char (&field)[kRoom], WideView text) {
  CopyBounded(field, TextToMultiByte(GetACP(), text));
}

// A time of zero counts as none.
void ReadDate(const SPropValue& value, char (&date)[100]) {
  if (PROP_TYPE(value.ulPropTag) != PT_SYSTIME) return;
  const FILETIME& time = value.Value.ft;
  if (time.dwLowDateTime == 0 && time.dwHighDateTime == 0) return;
  DATE local = kNoDate;
  if (FileTimeToDate(time, &local)) DateToRfc822(local, date, sizeof date);
}

// ---- Body -------------------------------------------------------------------------------------------

// The text up to its first zero; nothing when it cannot be read, which leaves the record without a body.
std::optional<WideText> ReadText(IStream& stream) {
  STATSTG status = {};
  if (FAILED(stream.Stat(&status, STATFLAG_NONAME))) return std::nullopt;
  const uint64_t size = status.cbSize.QuadPart;
  WideText text;
  try {
    if (size > kLargestBody) throw std::bad_alloc();
    text.resize(static_cast<size_t>(size) / sizeof(WCHAR));
  } catch (const std::bad_alloc&) {
    OSIF_Trace(0, "MAPI:  Unable to allocate buffer for stream data (size=%d)",
               static_cast<int>(size));
    return std::nullopt;
  }
  ULONG read = 0;
  const auto bytes = static_cast<ULONG>(text.size() * sizeof(WCHAR));
  if (const HRESULT result = stream.Read(text.data(), bytes, &read); FAILED(result)) {
    OSIF_Trace(0, "MAPI:  pstm->Read failed with code: 0x%08x", result);
    return std::nullopt;
  }
  text.resize(read / sizeof(WCHAR));
  text.resize(std::min(text.find(u'\0'), text.size()));
  return text;
}

void ReadBody(IMessage& message, MessagePart& part) {
  ComPtr<IUnknown> object;
  if (const HRESULT result = message.OpenProperty(PR_BODY, &IID_IStream, 0, 0, object.put());
      FAILED(result)) {
    OSIF_Trace(0, "MAPI:  pMapiMessage->OpenProperty failed with code: 0x%08x", result);
    return;
  }
  const ComPtr<IStream> stream(static_cast<IStream*>(object.release()));
  if (const std::optional<WideText> text = ReadText(*stream)) mapi_EncodeBody(*text, part);
}

// ---- Recipients -------------------------------------------------------------------------------------

const SPropValue* FindColumn(const SRow& row, ULONG tag) {
  for (ULONG i = 0; i < row.cValues; ++i) {
    if (row.lpProps[i].ulPropTag == tag) return &row.lpProps[i];
  }
  return nullptr;
}

// A field of the record holds one address: a later recipient of its kind takes the place of the one before.
void ReadRecipient(const SRow& row, OsifMessage& record) {
  const SPropValue* type = FindColumn(row, PR_RECIPIENT_TYPE);
  const SPropValue* address = FindColumn(row, PR_EMAIL_ADDRESS);
  if (type == nullptr || address == nullptr) return;
  const WideView text = mapi_GetString(*address);
  if (text.empty()) return;
  if (type->Value.l == MAPI_TO) CopyAnsi(record.to, text);
  if (type->Value.l == MAPI_CC) CopyAnsi(record.ccAddresses, text);
}

void ReadRecipients(IMessage& message, OsifMessage& record) {
  ComPtr<IMAPITable> table;
  if (const HRESULT result = message.GetRecipientTable(0, table.put()); FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMapiMessage->GetMsgStoresTable failed with code: %d", result);
    return;
  }
  LPSRowSet found = nullptr;
  const HRESULT result = table->QueryRows(kMostRecipients, 0, &found);
  const RowSet rows(found);
  if (FAILED(result) || !rows) return;
  for (ULONG i = 0; i < rows->cRows; ++i) ReadRecipient(rows->aRow[i], record);
}

// What is missing comes back under another type, and a buffer of it.
std::optional<WideText> ReadSender(IMessage& message) {
  SizedSPropTagArray(1, tags) = {1, {PR_SENDER_EMAIL_ADDRESS}};
  ULONG count = 0;
  LPSPropValue found = nullptr;
  const HRESULT result =
      message.GetProps(reinterpret_cast<LPSPropTagArray>(&tags), MAPI_UNICODE, &count, &found);
  const MapiBuffer<SPropValue> owner(found);
  if (FAILED(result) || count == 0 || found == nullptr) return std::nullopt;
  return WideText(mapi_GetString(*found));
}

std::optional<WideText> ReadWholeBody(IMessage& message) {
  ComPtr<IUnknown> object;
  const HRESULT result = message.OpenProperty(PR_BODY, &IID_IStream, 0, 0, object.put());
  if (result == MAPI_E_NOT_FOUND) return WideText();
  if (FAILED(result)) return std::nullopt;
  const ComPtr<IStream> stream(static_cast<IStream*>(object.release()));
  return ReadText(*stream);
}

}  // namespace

std::optional<MailContent> mapi_GetContent(IMessage& message) {
  std::optional<WideText> sender = ReadSender(message);
  std::optional<WideText> body = ReadWholeBody(message);
  if (!sender || !body) return std::nullopt;
  return MailContent{*std::move(sender), *std::move(body)};
}

OsifResult mapi_GetMail(IMessage& message, OsifMessage& record) {
  SizedSPropTagArray(4, tags) = {
      kProperties,
      {PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_FLAGS, PR_SENDER_EMAIL_ADDRESS}};
  ULONG count = 0;
  LPSPropValue found = nullptr;
  const HRESULT result =
      message.GetProps(reinterpret_cast<LPSPropTagArray>(&tags), MAPI_UNICODE, &count, &found);
  const MapiBuffer<SPropValue> owner(found);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMessage->GetProps() failed with code: 0x%08x", result);
    return OSIF_ERR_PIM;
  }
  if (count < kProperties || found == nullptr) {
    OSIF_Trace(0,
               "MAPI:  lpMessage->GetProps() did not return any data, cValues=%d, lpPropArray=%p",
               count, static_cast<void*>(found));
    return OSIF_ERR_PIM;
  }
  CopyAnsi(record.subject, mapi_GetString(found[kSubject]));
  ReadDate(found[kDeliveryTime], record.date);
  ReadBody(message, record.part);
  // The store's flags do not tell: a message that goes out counts as read.
  if (found[kFlags].ulPropTag == PR_MESSAGE_FLAGS) CopyBounded(record.xIrmcStatus, "READ");
  CopyAnsi(record.from, mapi_GetString(found[kSender]));
  ReadRecipients(message, record);
  return OSIF_OK;
}
