// A folder is its number and its name. Everything else is asked of the database when a caller asks for it.
//
// A contents table does not grow after it was made. For this it keeps no list: the highest id of that time
// bounds its rows, and what was deleted since is passed over when its row is read. A row whose columns all
// stand in mapi_messages costs one look at that table; any other column brings the whole message.

#include "platform/device/mail/folder.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/device/mail/container.h"
#include "platform/device/mail/entry_id.h"
#include "platform/device/mail/message.h"
#include "platform/device/mail/records.h"
#include "platform/device/mail/table.h"

namespace device {
namespace {

// The messages that a folder held at a time.
class ContentsRows final : public MapiRows {
 public:
  // The rows are the messages up to the last one at the time. Their ids are read when they are first
  // asked for: of a restricted table, few.
  ContentsRows(std::shared_ptr<Database> database, int64_t folder)
      : database_(std::move(database)),
        folder_(folder),
        last_id_(FindLastMessage(*database_, folder)) {}

  size_t Count() override { return Ids().size(); }

  bool Restrict(const MapiProperties& wanted) override {
    if (!CanListMessages(wanted)) return false;
    wanted_ = wanted;
    ids_.reset();
    return true;
  }

  std::optional<MapiProperties> Row(size_t index, const std::vector<ULONG>& columns) override {
    const int64_t id = Ids()[index];
    const bool head_suffices = std::all_of(columns.begin(), columns.end(), IsHeadProperty);
    std::optional<StoredMessage> message =
        head_suffices ? LoadMessageHead(*database_, id) : LoadMessage(*database_, id);
    if (!message) return std::nullopt;  // deleted since the ids were read
    return std::move(message->properties);
  }

 private:
  const std::vector<int64_t>& Ids() {
    if (!ids_) ids_ = ListMessages(*database_, folder_, last_id_, wanted_);
    return *ids_;
  }

  const std::shared_ptr<Database> database_;
  const int64_t folder_;
  const int64_t last_id_;
  MapiProperties wanted_;
  std::optional<std::vector<int64_t>> ids_;
};

class Folder final
    : public MapiReadOnly<IMAPIFolder, IID_IMAPIProp, IID_IMAPIContainer, IID_IMAPIFolder> {
 public:
  Folder(std::shared_ptr<Database> database, int64_t number, const std::u16string& name)
      : MapiReadOnly(MakeProperties({{PR_ENTRYID, MakeEntryId(MAPI_FOLDER, number)},
                                     {PR_DISPLAY_NAME, name},
                                     {PR_OBJECT_TYPE, int64_t{MAPI_FOLDER}}})),
        database_(std::move(database)),
        number_(number) {}

  HRESULT GetContentsTable(ULONG, IMAPITable** table) override {
    if (table != nullptr) *table = nullptr;
    return Run([&] {
      if (table == nullptr) return MAPI_E_INVALID_PARAMETER;
      auto rows = std::make_unique<ContentsRows>(database_, number_);
      *table = NewTable(std::move(rows), {PR_ENTRYID, PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME},
                        MapiColumns::kChosen);
      return S_OK;
    });
  }

  HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID, ULONG, ULONG* type,
                    LPUNKNOWN* object) override {
    return Run([&] { return OpenMapiEntry(database_, size, entry, type, object); });
  }

  HRESULT CreateMessage(LPCIID, ULONG flags, IMessage** message) override {
    if (message != nullptr) *message = nullptr;
    return Run([&] {
      if (message == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (flags != 0) return MAPI_E_UNKNOWN_FLAGS;
      *message = NewMessage(database_, number_);
      return S_OK;
    });
  }

 private:
  const std::shared_ptr<Database> database_;
  const int64_t number_;
};

IMAPIFolder* OpenFolder(const std::shared_ptr<Database>& database, int64_t number) {
  const std::optional<std::u16string> name = FolderName(*database, number);
  if (!name) throw MapiFailure{MAPI_E_NOT_FOUND, 0};
  return new Folder(database, number, *name);
}

}  // namespace

HRESULT OpenMapiEntry(const std::shared_ptr<Database>& database, ULONG size, const ENTRYID* entry,
                      ULONG* type, LPUNKNOWN* object) {
  if (type == nullptr || object == nullptr) return MAPI_E_INVALID_PARAMETER;
  *object = nullptr;
  const std::optional<MapiEntry> id = ReadEntryId(size, entry);
  if (!id || id->type == MAPI_STORE) return MAPI_E_INVALID_ENTRYID;
  if (id->type == MAPI_FOLDER) {
    *object = OpenFolder(database, id->number);
  } else {
    *object = OpenMessage(database, id->number);
  }
  *type = id->type;
  return S_OK;
}

}  // namespace device
