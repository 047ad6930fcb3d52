#include "btosif/osif_util/object_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>

#include "tests/support/contacts.h"
#include "tests/support/files.h"
#include "tests/support/values.h"

namespace object_record_test {
namespace {

using support::MakeValue;
using support::TempFile;

bool IsCleared(const OsifObject& object) {
  const char* bytes = reinterpret_cast<const char*>(&object);
  return std::all_of(bytes, bytes + sizeof object, [](char byte) { return byte == 0; });
}

// A list of two values; one that is not released shows up as a leak.
PropertyValue* TwoValues() {
  ValueList first = MakeValue({"HOME"}, {"one", "two"});
  first->next = MakeValue({"WORK"}, {"three"}).release();
  return first.release();
}

// ---- The record ----

TEST(ObjectRecord, HasTheCommonFrameBeforeTheFieldsOfEveryStore) {
  EXPECT_EQ(sizeof(OsifObject), 9792u);
  EXPECT_EQ(offsetof(OsifObject, flags), 0u);
  EXPECT_EQ(offsetof(OsifObject, xIrmcLuid), 4u);
  EXPECT_EQ(offsetof(OsifObject, version), 516u);
  EXPECT_EQ(offsetof(OsifObject, calendarKind), 541u);
  EXPECT_EQ(sizeof(OsifObject::xIrmcLuid), 512u);
  EXPECT_EQ(sizeof(OsifObject::version), 25u);
  const OsifObject object{};
  EXPECT_EQ(static_cast<const void*>(&object.contact), static_cast<const void*>(&object.calendar));
  EXPECT_EQ(static_cast<const void*>(&object.contact), static_cast<const void*>(&object.note));
  EXPECT_EQ(static_cast<const void*>(&object.contact), static_cast<const void*>(&object.message));
}

TEST(ObjectRecord, HasTwentyContactListsInTheirOrder) {
  const OsifObject object{};
  size_t place = 0;
  for (const auto& field : support::kContactFields) {
    const auto* list = &(object.contact.*field.list);
    EXPECT_EQ(list, &object.contact.n + place++) << field.name;
  }
  EXPECT_EQ(place, 20u);
  EXPECT_EQ(sizeof(OsifContact), 20 * sizeof(PropertyValue*));
}

// Where things lie for callers with 4-byte pointers, and for those with 8-byte pointers.
template <typename T>
constexpr T ByPointer(T with_4, T with_8) {
  static_assert(sizeof(void*) == 4 || sizeof(void*) == 8);
  return sizeof(void*) == 4 ? with_4 : with_8;
}

TEST(ObjectRecord, HasValuesOfTheSizeThatTheirPointersGive) {
  EXPECT_EQ(sizeof(OsifText), ByPointer(12u, 24u));
  EXPECT_EQ(offsetof(OsifText, text), ByPointer(4u, 8u));
  EXPECT_EQ(offsetof(OsifText, used), ByPointer(8u, 16u));
  EXPECT_EQ(sizeof(PropertyValue), ByPointer(20u, 40u));
  EXPECT_EQ(offsetof(PropertyValue, params), ByPointer(4u, 8u));
  EXPECT_EQ(offsetof(PropertyValue, components), ByPointer(8u, 16u));
  EXPECT_EQ(offsetof(PropertyValue, codePage), ByPointer(12u, 24u));
  EXPECT_EQ(offsetof(PropertyValue, next), ByPointer(16u, 32u));
}

TEST(ObjectRecord, HasFieldsOfTheSizeThatTheirPointersGive) {
  EXPECT_EQ(offsetof(OsifObject, contact), 544u);
  EXPECT_EQ(sizeof(OsifContact), ByPointer(80u, 160u));
  EXPECT_EQ(offsetof(OsifCalendar, tail), ByPointer(40u, 80u));
  EXPECT_EQ(offsetof(OsifEventTail, allDayEvent), ByPointer(28u, 56u));
  EXPECT_EQ(sizeof(OsifTodoTail), ByPointer(24u, 48u));
  EXPECT_EQ(sizeof(OsifCalendar), ByPointer(72u, 144u));
  EXPECT_EQ(sizeof(OsifNote), ByPointer(24u, 48u));
}

// The room for the message store gives way, so that the record has one size.
TEST(ObjectRecord, HasMessageFieldsThatFillIt) {
  EXPECT_EQ(sizeof(MessagePart), ByPointer(700u, 712u));
  EXPECT_EQ(offsetof(MessagePart, contentTransferEncoding), 128u);
  EXPECT_EQ(offsetof(MessagePart, bodyText), ByPointer(180u, 184u));
  EXPECT_EQ(offsetof(MessagePart, attachmentFile), ByPointer(184u, 192u));
  EXPECT_EQ(offsetof(MessagePart, nextPart), ByPointer(696u, 704u));
  EXPECT_EQ(offsetof(OsifMessage, storeData), 62u);
  EXPECT_EQ(sizeof(OsifMessage::storeData), ByPointer(4080u, 4068u));
  EXPECT_EQ(offsetof(OsifMessage, mimeVersion), ByPointer(4142u, 4130u));
  EXPECT_EQ(offsetof(OsifMessage, part), ByPointer(8548u, 8536u));
  EXPECT_EQ(sizeof(OsifMessage), 9248u);
}

// ---- Releasing ----

TEST(ObjectRecord, ReleasesEveryListOfAContactAndClearsTheRecord) {
  OsifObject object{};
  std::strcpy(object.xIrmcLuid, "0000002a");
  std::strcpy(object.version, "2.1");
  for (const auto& field : support::kContactFields) object.contact.*field.list = TwoValues();
  FreeObject(OSIF_STORE_PB, object);
  EXPECT_TRUE(IsCleared(object));
}

TEST(ObjectRecord, ReleasesEveryListOfAnEvent) {
  OsifObject object{};
  object.calendarKind = OSIF_CALENDAR_EVENT;
  OsifCalendar& item = object.calendar;
  for (PropertyValue** list :
       {&item.categories, &item.completed, &item.description, &item.due, &item.dtEnd,
        &item.priority, &item.dtStart, &item.status, &item.summary, &item.class_,
        &item.tail.event.location, &item.tail.event.dAlarm, &item.tail.event.aAlarm,
        &item.tail.event.rRule, &item.tail.event.exDate, &item.tail.event.attendee,
        &item.tail.event.attach}) {
    *list = TwoValues();
  }
  item.tail.event.allDayEvent = 1;
  FreeObject(OSIF_STORE_CAL, object);
  EXPECT_TRUE(IsCleared(object));
}

TEST(ObjectRecord, ReleasesEveryListOfAToDo) {
  OsifObject object{};
  object.calendarKind = OSIF_CALENDAR_TODO;
  OsifCalendar& item = object.calendar;
  for (PropertyValue** list :
       {&item.categories, &item.due, &item.summary, &item.class_, &item.tail.todo.dAlarm,
        &item.tail.todo.aAlarm, &item.tail.todo.rRule, &item.tail.todo.exDate,
        &item.tail.todo.attendee, &item.tail.todo.attach}) {
    *list = TwoValues();
  }
  FreeObject(OSIF_STORE_CAL, object);
  EXPECT_TRUE(IsCleared(object));
}

TEST(ObjectRecord, ReleasesEveryListOfANote) {
  OsifObject object{};
  OsifNote& note = object.note;
  for (PropertyValue** list : {&note.dCreated, &note.lastModified, &note.categories, &note.class_,
                               &note.body, &note.summary}) {
    *list = TwoValues();
  }
  FreeObject(OSIF_STORE_NOTE, object);
  EXPECT_TRUE(IsCleared(object));
}

// A part as the message reader makes it, with a body and a temporary file.
void Fill(MessagePart& part, const TempFile& file) {
  std::strcpy(part.contentType, "text/plain");
  part.bodyText = CopyText("body").release();
  std::u16string path = file.wide_path();
  std::copy(path.begin(), path.end(), part.attachmentFile);
}

TEST(ObjectRecord, ReleasesTheBodiesOfAMessageAndRemovesItsTemporaryFiles) {
  for (int32_t store : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
    TempFile first("attachment");
    TempFile second("attachment");
    OsifObject object{};
    std::strcpy(object.message.subject, "hello");
    Fill(object.message.part, first);
    object.message.part.nextPart = static_cast<MessagePart*>(OsifAlloc(sizeof(MessagePart)));
    Fill(*object.message.part.nextPart, second);
    FreeObject(store, object);
    EXPECT_TRUE(IsCleared(object));
    EXPECT_FALSE(std::filesystem::exists(first.path()));
    EXPECT_FALSE(std::filesystem::exists(second.path()));
  }
}

TEST(ObjectRecord, OfAClearedRecordNothingIsReleasedAndItStaysClearedTheSecondTimeToo) {
  OsifObject object{};
  for (int32_t store = OSIF_STORE_PB; store <= OSIF_STORE_MSG_OUT; ++store) {
    FreeObject(store, object);
    FreeObject(store, object);
    EXPECT_TRUE(IsCleared(object)) << "store " << store;
  }
}

TEST(ObjectRecord, AnUnknownStoreOnlyClearsTheRecord) {
  OsifObject object{};
  std::strcpy(object.xIrmcLuid, "1");
  FreeObject(99, object);
  EXPECT_TRUE(IsCleared(object));
}

TEST(ObjectRecord, AnOwnedRecordBeginsClearedAndIsReleasedAtTheEnd) {
  OwnedObject object(OSIF_STORE_PB);
  EXPECT_TRUE(IsCleared(*object));
  object->contact.n = TwoValues();
}

// ---- Random ids ----

TEST(ObjectRecord, ARandomIdHasEightSmallLettersOrDigits) {
  for (int i = 0; i < 100; ++i) {
    char id[kRandomIdLength + 1];
    std::memset(id, '#', sizeof id);
    MakeRandomId(id);
    ASSERT_EQ(std::strlen(id), 8u);
    EXPECT_EQ(std::string(id).find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"),
              std::string::npos)
        << id;
  }
}

TEST(ObjectRecord, RandomIdsDiffer) {
  std::set<std::string> ids;
  for (int i = 0; i < 20; ++i) {
    char id[kRandomIdLength + 1];
    MakeRandomId(id);
    ids.insert(id);
    timespec pause{0, 2000000};
    nanosleep(&pause, nullptr);
  }
  EXPECT_GT(ids.size(), 1u);
}

}  // namespace
}  // namespace object_record_test
