// osif push: objects of a store to another device, by object push.
//
// Each object is a request of its own, as phones want it. One that the other side refuses does not keep the next from
// being sent; a connection that is lost ends the command.
#include <optional>
#include <string>
#include <vector>

#include "client/interrupt.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "dialects/form_names.h"
#include "obex/client/address.h"
#include "obex/client/peer.h"
#include "tools/osif/commands.h"
#include "tools/osif/form_argument.h"
#include "tools/osif/object_id.h"
#include "tools/osif/object_texts.h"
#include "tools/osif/peer_arguments.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

struct PushArguments {
  int32_t store_id = 0;
  std::vector<std::string> ids;
  std::string address;
  std::string form;
  std::string password_file;
};

struct TypeRow {
  dialects::Form form;
  const char* type;  // of MIME
};

constexpr TypeRow kTypes[] = {
    {dialects::Form::kVCard21, "text/x-vcard"}, {dialects::Form::kVCard30, "text/x-vcard"},
    {dialects::Form::kVCard40, "text/vcard"},   {dialects::Form::kVCal10, "text/x-vcalendar"},
    {dialects::Form::kICal20, "text/calendar"}, {dialects::Form::kVNote, "text/x-vnote"},
    {dialects::Form::kVMessage, "text/x-vmsg"},
};

// The form that phones take, where none is chosen.
dialects::Form FormOf(const PushArguments& arguments) {
  const std::optional<dialects::Form> chosen = ChosenSentForm(arguments.form, {});
  if (chosen) return *chosen;
  switch (KindOf(arguments.store_id)) {
    case dialects::ObjectKind::kCard:
      return dialects::Form::kVCard21;
    case dialects::ObjectKind::kCalendar:
      return dialects::Form::kVCal10;
    case dialects::ObjectKind::kNote:
      return dialects::Form::kVNote;
    default:
      return dialects::Form::kVMessage;
  }
}

const char* TypeOf(dialects::Form form) {
  for (const TypeRow& row : kTypes) {
    if (row.form == form) return row.type;
  }
  return "text/plain";
}

class Pusher {
 public:
  Pusher(const PushArguments& arguments, obex::Peer& peer, Reporter& reporter)
      : arguments_(arguments), form_(FormOf(arguments)), peer_(peer), reporter_(reporter) {}

  // False when nothing more can be sent.
  bool Push(ObjectTexts& texts, const std::string& id) {
    const std::optional<std::string> text =
        texts.TextOf(LibraryId(arguments_.store_id, id).c_str());
    if (!text) return true;
    const std::string body = texts.Begin() + *text + texts.End();
    const obex::Reply reply =
        peer_.Put({id + std::string(dialects::EndingOf(form_)), TypeOf(form_)}, body);
    const std::string what = IdInStore(arguments_.store_id, id.c_str());
    if (!reply.is_success()) {
      reporter_.Fail(what + " was not taken: " + obex::ReplyText(reply), OSIF_OK);
      return reply.error.empty();
    }
    reporter_.Result({{"store", NameOfStore(arguments_.store_id)},
                      {"id", id},
                      {"to", arguments_.address},
                      {"bytes", body.size()}},
                     what + ": sent to " + arguments_.address);
    return true;
  }

  dialects::Form form() const { return form_; }

 private:
  const PushArguments& arguments_;
  const dialects::Form form_;
  obex::Peer& peer_;
  Reporter& reporter_;
};

void DeclarePush(Declarations& declarations, PushArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.ids, "Ids as \"osif list\" shows them").Required();
  declarations
      .Add("--to", arguments.address,
           "The device: HOST:PORT, a Bluetooth address, or a serial line")
      .Called("ADDRESS")
      .Required();
  DeclareForm(declarations, "--as", arguments.form);
  declarations.Add("--password-file", arguments.password_file, "Where the device asks for one")
      .Called("FILE");
}

void Push(const PushArguments& arguments, const Options& options, Reporter& reporter) {
  if (!AreIds(arguments.store_id, arguments.ids, reporter)) return;
  const std::optional<std::string> password = PasswordIn(arguments.password_file, reporter);
  if (!password) return;
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  ObjectTexts texts(arguments.store_id, FormOf(arguments), session, reporter);
  if (!texts.Open()) return;
  std::string why;
  const obex::Line line = obex::ConnectTo(arguments.address, obex::BluetoothService::kPush, why);
  if (!line.is_open()) return reporter.Fail(arguments.address + ": " + why, OSIF_OK);
  obex::Peer peer(line.handle(), kPeerPatience);
  if (const obex::Reply reply = peer.Connect({}, *password); !reply.is_success()) {
    return reporter.Fail(arguments.address + ": " + obex::ReplyText(reply), OSIF_OK);
  }
  Pusher pusher(arguments, peer, reporter);
  for (const std::string& id : arguments.ids) {
    if (WasInterrupted()) {
      reporter.Fail("interrupted before " + IdInStore(arguments.store_id, id.c_str()), OSIF_OK);
      return;
    }
    if (!pusher.Push(texts, id)) return;
  }
  peer.Disconnect();
}

}  // namespace

void AddPush(const CommandLine& line) {
  AddSubcommand(line, "push", "Send objects of a store to another device", DeclarePush, Push);
}

}  // namespace command
