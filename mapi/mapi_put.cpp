// Field by field, each with a call of its own: a store that refuses one property keeps the others, and the
// trace names the one that it refused. The store has none of it before the caller saves the message.
//
// The message borrows texts and lists only while a call lasts; their owners are on the stack of the function
// that makes the call.
#include "mapi/mapi_put.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "config/trace.h"
#include "mapi/mapi_body.h"
#include "mapi/mapi_buffer.h"
#include "mapi/mapi_date.h"
#include "mapi/mapi_text.h"
#include "platform/api/codepage.h"
#include "platform/api/com_ptr.h"

namespace {

// Borrows the text.
SPropValue TextValue(ULONG tag, WideText& text) {
  SPropValue value = {};
  value.ulPropTag = tag;
  value.Value.lpszW = text.data();
  return value;
}

SPropValue NumberValue(ULONG tag, LONG number) {
  SPropValue value = {};
  value.ulPropTag = tag;
  value.Value.l = number;
  return value;
}

void SetProperty(IMessage& message, SPropValue value, const char* failed) {
  const HRESULT result = message.SetProps(1, &value, nullptr);
  if (FAILED(result)) OSIF_Trace(0, failed, result);
}

void SetSubject(const OsifMessage& record, IMessage& message) {
  if (record.subject[0] == '\0') return;
  WideText subject = mapi_HeaderText(record.subject);
  SetProperty(message, TextValue(PR_SUBJECT, subject),
              "MAPI:  lpMessage->SetProps(PR_SUBJECT) failed with code: 0x%08x");
}

// A date that cannot be read is traced by its reader and leaves the message without one.
void SetDeliveryTime(const OsifMessage& record, IMessage& message) {
  SPropValue value = {};
  value.ulPropTag = PR_MESSAGE_DELIVERY_TIME;
  if (record.date[0] == '\0' || !mapi_DateToFileTime(record.date, &value.Value.ft)) return;
  SetProperty(message, value,
              "MAPI:  lpMessage->SetProps(PR_MESSAGE_DELIVERY_TIME) failed with code: 0x%08x");
}

// ---- Body -------------------------------------------------------------------------------------------

// Through a stream, as properties of any size are written, and in one piece with the terminator.
void SetBody(const MessagePart& part, IMessage& message) {
  if (part.bodyText == nullptr || part.bodyText[0] == '\0') return;
  const WideText content = mapi_DecodeBody(part);
  if (content.empty()) OSIF_Trace(0, "MAPI:  BSTR of content is empty");
  ComPtr<IUnknown> object;
  HRESULT result =
      message.OpenProperty(PR_BODY, &IID_IStream, 0, MAPI_CREATE | MAPI_MODIFY, object.put());
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  pMapiMessage->OpenProperty failed with code: 0x%08x", result);
    return;
  }
  const WideText text = mapi_PlainText(part, content);
  if (text.empty() && !content.empty()) {
    OSIF_Trace(0, "MAPI:  Could not convert BODY to plain text");
  }
  const size_t bytes = (text.size() + 1) * sizeof(WCHAR);
  const ComPtr<IStream> stream(static_cast<IStream*>(object.release()));
  result = bytes > UINT32_MAX ? E_OUTOFMEMORY
                              : stream->Write(text.c_str(), static_cast<ULONG>(bytes), nullptr);
  if (FAILED(result)) OSIF_Trace(0, "MAPI:  pstm->Write failed with code: 0x%08x", result);
}

// ---- Flags, sender and recipients -------------------------------------------------------------------

// A new message that has no status counts as unread. Whoever sent it, it is kept as one of this device's own.
void SetFlags(const OsifMessage& record, IMessage& message, bool is_new) {
  if (record.xIrmcStatus[0] == '\0' && !is_new) return;
  const bool is_read = EqualsIgnoringCase(record.xIrmcStatus, "READ");
  SetProperty(message, NumberValue(PR_MESSAGE_FLAGS, MSGFLAG_FROMME | (is_read ? MSGFLAG_READ : 0)),
              "MAPI:  lpMessage->SetProps(PR_MESSAGE_FLAG) failed with code: 0x%08x");
}

// The store may take the call and still refuse the property.
void SetSender(const OsifMessage& record, IMessage& message) {
  if (record.from[0] == '\0') return;
  WideText sender = mapi_HeaderText(record.from);
  SPropValue value = TextValue(PR_SENDER_EMAIL_ADDRESS, sender);
  LPSPropProblemArray found = nullptr;
  const HRESULT result = message.SetProps(1, &value, &found);
  const MapiBuffer<SPropProblemArray> problems(found);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMessage->SetProps(PR_SENDER_*) failed with code: 0x%08x", result);
  }
  if (problems && problems->cProblem > 0) {
    OSIF_Trace(0, "MAPI:  lpProblems->aProblem[0].scode (PR_SENDER_NAME) : 0x%08x",
               problems->aProblem[0].scode);
  }
}

// The recipients of a message while they are handed over: each owns its address and three properties.
class Recipients {
 public:
  // Addresses stand between ";"; blanks before one are skipped, and an empty one ends the list.
  void AddList(std::string_view list, LONG type) {
    while (true) {
      list.remove_prefix(std::min(list.find_first_not_of(' '), list.size()));
      const size_t end = std::min(list.find(';'), list.size());
      if (end == 0) return;
      recipients_.push_back({MultiByteToText(GetACP(), list.substr(0, end)), type});
      list.remove_prefix(std::min(end + 1, list.size()));
    }
  }

  bool empty() const { return recipients_.empty(); }

  HRESULT AddTo(IMessage& message) {
    WideText address_type = u"SMTP";
    std::vector<std::array<SPropValue, 3>> values;
    values.reserve(recipients_.size());
    // Pointers of a list's alignment, of which one is as large as the alignment itself.
    std::vector<void*> block(CbNewADRLIST(recipients_.size()) / sizeof(void*) + 1);
    auto* list = reinterpret_cast<LPADRLIST>(block.data());
    for (Recipient& recipient : recipients_) {
      values.push_back({NumberValue(PR_RECIPIENT_TYPE, recipient.type),
                        TextValue(PR_ADDRTYPE, address_type),
                        TextValue(PR_EMAIL_ADDRESS, recipient.address)});
      list->aEntries[list->cEntries++] = {0, 3, values.back().data()};
    }
    return message.ModifyRecipients(MODRECIP_ADD, list);
  }

 private:
  struct Recipient {
    WideText address;
    LONG type;
  };

  std::vector<Recipient> recipients_;
};

// The message is stored without its recipients when memory is short for them.
HRESULT AddRecipients(const OsifMessage& record, IMessage& message) {
  try {
    Recipients recipients;
    recipients.AddList(record.to, MAPI_TO);
    recipients.AddList(record.ccAddresses, MAPI_CC);
    if (recipients.empty()) return S_OK;
    const HRESULT result = recipients.AddTo(message);
    if (FAILED(result)) {
      OSIF_Trace(0, "MAPI:  pmsg->ModifyRecipients failed with code: 0x%08x", result);
    }
    return result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

void mapi_PutMail(const OsifMessage& record, IMessage& message, bool is_new) {
  SetSubject(record, message);
  SetDeliveryTime(record, message);
  SetBody(record.part, message);
  SetFlags(record, message, is_new);
  SetSender(record, message);
  AddRecipients(record, message);
}
