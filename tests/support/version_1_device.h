// A device's folder as version 1 of the database's schema left it, with everything closed in order: two contacts, a series
// with a recipient and an exception, a task, a setting, and the change logs of both stores, which have told all of it.
//
// It is kept as text: what a database of that version holds must not be made by what reads it.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>

#include "tests/support/bytes.h"

namespace support {

inline constexpr char kVersion1Database[] = R"sql(
PRAGMA journal_mode=WAL;
BEGIN TRANSACTION;
CREATE TABLE mapi_bodies(
  message INTEGER PRIMARY KEY REFERENCES mapi_messages(id) ON DELETE CASCADE,
  bytes BLOB NOT NULL);
CREATE TABLE mapi_folders(
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL);
INSERT INTO "mapi_folders" VALUES(1,'Inbox');
INSERT INTO "mapi_folders" VALUES(2,'Sent Items');
INSERT INTO "mapi_folders" VALUES(3,'Outbox');
CREATE TABLE mapi_last_id(id INTEGER NOT NULL);
INSERT INTO "mapi_last_id" VALUES(0);
CREATE TABLE mapi_messages(
  id INTEGER PRIMARY KEY,
  folder INTEGER NOT NULL REFERENCES mapi_folders(id),
  delivery_time INTEGER,
  subject TEXT);
CREATE TABLE mapi_properties(
  message INTEGER NOT NULL REFERENCES mapi_messages(id) ON DELETE CASCADE,
  recipient INTEGER NOT NULL,
  property INTEGER NOT NULL,
  type INTEGER NOT NULL,
  value NOT NULL,
  PRIMARY KEY(message, recipient, property)) WITHOUT ROWID;
CREATE TABLE pim_appointments(
  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE,
  subject TEXT COLLATE NOCASE,
  location TEXT COLLATE NOCASE,
  categories TEXT COLLATE NOCASE,
  start_date REAL,
  end_date REAL,
  all_day_event INTEGER NOT NULL,
  busy_status INTEGER NOT NULL,
  sensitivity INTEGER NOT NULL,
  body TEXT COLLATE NOCASE,
  reminder_set INTEGER NOT NULL,
  reminder_sound_file TEXT COLLATE NOCASE,
  reminder_minutes_before_start INTEGER NOT NULL,
  reminder_options INTEGER NOT NULL);
INSERT INTO "pim_appointments" VALUES(3,'Budget',NULL,NULL,3.84254270833333357575e+04,38425.46875,0,2,0,NULL,0,NULL,15,0);
CREATE TABLE pim_contacts(
  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE,
  birthday REAL,
  anniversary REAL,
  business_fax_number TEXT COLLATE NOCASE,
  company_name TEXT COLLATE NOCASE,
  department TEXT COLLATE NOCASE,
  email1_address TEXT COLLATE NOCASE,
  mobile_telephone_number TEXT COLLATE NOCASE,
  office_location TEXT COLLATE NOCASE,
  pager_number TEXT COLLATE NOCASE,
  business_telephone_number TEXT COLLATE NOCASE,
  job_title TEXT COLLATE NOCASE,
  home_telephone_number TEXT COLLATE NOCASE,
  email2_address TEXT COLLATE NOCASE,
  spouse TEXT COLLATE NOCASE,
  email3_address TEXT COLLATE NOCASE,
  home2_telephone_number TEXT COLLATE NOCASE,
  home_fax_number TEXT COLLATE NOCASE,
  car_telephone_number TEXT COLLATE NOCASE,
  assistant_name TEXT COLLATE NOCASE,
  assistant_telephone_number TEXT COLLATE NOCASE,
  children TEXT COLLATE NOCASE,
  categories TEXT COLLATE NOCASE,
  web_page TEXT COLLATE NOCASE,
  business2_telephone_number TEXT COLLATE NOCASE,
  title TEXT COLLATE NOCASE,
  first_name TEXT COLLATE NOCASE,
  middle_name TEXT COLLATE NOCASE,
  last_name TEXT COLLATE NOCASE,
  suffix TEXT COLLATE NOCASE,
  home_address_street TEXT COLLATE NOCASE,
  home_address_city TEXT COLLATE NOCASE,
  home_address_state TEXT COLLATE NOCASE,
  home_address_postal_code TEXT COLLATE NOCASE,
  home_address_country TEXT COLLATE NOCASE,
  other_address_street TEXT COLLATE NOCASE,
  other_address_city TEXT COLLATE NOCASE,
  other_address_state TEXT COLLATE NOCASE,
  other_address_postal_code TEXT COLLATE NOCASE,
  other_address_country TEXT COLLATE NOCASE,
  business_address_street TEXT COLLATE NOCASE,
  business_address_city TEXT COLLATE NOCASE,
  business_address_state TEXT COLLATE NOCASE,
  business_address_postal_code TEXT COLLATE NOCASE,
  business_address_country TEXT COLLATE NOCASE,
  radio_telephone_number TEXT COLLATE NOCASE,
  file_as TEXT COLLATE NOCASE,
  body TEXT COLLATE NOCASE);
INSERT INTO "pim_contacts" VALUES(1,NULL,NULL,NULL,NULL,NULL,NULL,'0123',NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,'Ann',NULL,'Lee',NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
INSERT INTO "pim_contacts" VALUES(2,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,'0456',NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,'Bob',NULL,'Ray',NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
CREATE TABLE pim_exceptions(
  series INTEGER NOT NULL REFERENCES pim_objects(oid) ON DELETE CASCADE,
  day INTEGER NOT NULL,
  occurrence INTEGER,
  PRIMARY KEY(series, day)) WITHOUT ROWID;
INSERT INTO "pim_exceptions" VALUES(3,38427,NULL);
CREATE TABLE pim_objects(
  oid INTEGER PRIMARY KEY AUTOINCREMENT CHECK(oid BETWEEN 1 AND 2147483647),
  folder INTEGER NOT NULL);
INSERT INTO "pim_objects" VALUES(1,10);
INSERT INTO "pim_objects" VALUES(2,10);
INSERT INTO "pim_objects" VALUES(3,9);
INSERT INTO "pim_objects" VALUES(4,13);
CREATE TABLE pim_patterns(
  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE,
  recurrence_type INTEGER NOT NULL CHECK(recurrence_type IN (0, 1, 2, 3, 5, 6)),
  start_day INTEGER NOT NULL CHECK(start_day BETWEEN -657434 AND 2958465),
  interval INTEGER NOT NULL CHECK(interval BETWEEN 1 AND 999),
  day_of_week_mask INTEGER NOT NULL CHECK(day_of_week_mask BETWEEN 0 AND 127),
  day_of_month INTEGER NOT NULL CHECK(day_of_month BETWEEN -31 AND 31),
  instance INTEGER NOT NULL CHECK(instance BETWEEN 0 AND 5),
  month_of_year INTEGER NOT NULL CHECK(month_of_year BETWEEN 0 AND 12),
  end_day INTEGER CHECK(end_day BETWEEN -657434 AND 2958465),
  occurrences INTEGER CHECK(occurrences BETWEEN 1 AND 2147483647),
  CHECK(recurrence_type NOT IN (1, 3, 6) OR day_of_week_mask > 0),
  CHECK(recurrence_type NOT IN (2, 5) OR day_of_month <> 0),
  CHECK(recurrence_type NOT IN (3, 6) OR instance > 0),
  CHECK(recurrence_type NOT IN (5, 6) OR month_of_year > 0),
  CHECK(end_day IS NULL OR occurrences IS NULL));
INSERT INTO "pim_patterns" VALUES(3,0,38425,1,0,0,0,0,NULL,5);
CREATE TABLE pim_recipients(
  oid INTEGER NOT NULL REFERENCES pim_objects(oid) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  address TEXT NOT NULL,
  PRIMARY KEY(oid, position)) WITHOUT ROWID;
INSERT INTO "pim_recipients" VALUES(3,1,'Ann Lee','ann@example.org');
CREATE TABLE pim_tasks(
  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE,
  subject TEXT COLLATE NOCASE,
  categories TEXT COLLATE NOCASE,
  start_date REAL,
  due_date REAL,
  date_completed REAL,
  importance INTEGER NOT NULL,
  complete INTEGER NOT NULL,
  sensitivity INTEGER NOT NULL,
  team_task INTEGER NOT NULL,
  body TEXT COLLATE NOCASE,
  reminder_set INTEGER NOT NULL,
  reminder_sound_file TEXT COLLATE NOCASE,
  reminder_time REAL,
  reminder_options INTEGER NOT NULL);
INSERT INTO "pim_tasks" VALUES(4,'Buy milk',NULL,NULL,38431.0,NULL,1,0,0,0,NULL,0,NULL,NULL,0);
CREATE TABLE registry_keys(
  id INTEGER PRIMARY KEY,
  folded_path TEXT NOT NULL UNIQUE,
  path TEXT NOT NULL);
INSERT INTO "registry_keys" VALUES(1,'hkey_local_machine\software','HKEY_LOCAL_MACHINE\Software');
INSERT INTO "registry_keys" VALUES(2,'hkey_local_machine\software\corvane','HKEY_LOCAL_MACHINE\Software\Corvane');
INSERT INTO "registry_keys" VALUES(3,'hkey_local_machine\software\corvane\btconfig','HKEY_LOCAL_MACHINE\Software\Corvane\BTConfig');
INSERT INTO "registry_keys" VALUES(4,'hkey_local_machine\software\corvane\btconfig\general','HKEY_LOCAL_MACHINE\Software\Corvane\BTConfig\General');
CREATE TABLE registry_values(
  key INTEGER NOT NULL REFERENCES registry_keys(id) ON DELETE CASCADE,
  folded_name TEXT NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY(key, folded_name)) WITHOUT ROWID;
INSERT INTO "registry_values" VALUES(4,'devicename','DeviceName',1,X'480061006E006400680065006C0064000000');
ANALYZE "sqlite_master";
INSERT INTO "sqlite_stat1" VALUES('pim_contacts','pim_contacts_by_name','100000 20 2 1 1 1');
INSERT INTO "sqlite_stat1" VALUES('pim_contacts','pim_contacts_by_first_name','100000 100 20');
INSERT INTO "sqlite_stat1" VALUES('pim_contacts','pim_contacts_by_middle_name','100000 500');
INSERT INTO "sqlite_stat1" VALUES('pim_contacts','pim_contacts_by_suffix','100000 2000');
INSERT INTO "sqlite_stat1" VALUES('pim_contacts','pim_contacts_by_title','100000 5000');
CREATE INDEX pim_objects_by_folder ON pim_objects(folder);
CREATE INDEX pim_contacts_by_name
  ON pim_contacts(last_name, first_name, middle_name, title, suffix);
CREATE INDEX pim_contacts_by_first_name ON pim_contacts(first_name, middle_name)
  WHERE first_name IS NOT NULL;
CREATE INDEX pim_contacts_by_middle_name ON pim_contacts(middle_name) WHERE middle_name IS NOT NULL;
CREATE INDEX pim_contacts_by_suffix ON pim_contacts(suffix) WHERE suffix IS NOT NULL;
CREATE INDEX pim_contacts_by_title ON pim_contacts(title) WHERE title IS NOT NULL;
CREATE INDEX pim_appointments_by_subject ON pim_appointments(subject, start_date)
  WHERE subject IS NOT NULL;
CREATE INDEX pim_appointments_by_start ON pim_appointments(start_date, body);
CREATE INDEX pim_tasks_by_subject ON pim_tasks(subject) WHERE subject IS NOT NULL;
CREATE TRIGGER pim_exceptions_with_occurrence AFTER DELETE ON pim_exceptions
  WHEN old.occurrence IS NOT NULL
  BEGIN DELETE FROM pim_objects WHERE oid = old.occurrence; END;
CREATE INDEX mapi_messages_by_folder ON mapi_messages(folder);
CREATE INDEX mapi_messages_by_time ON mapi_messages(folder, delivery_time, subject);
DELETE FROM "sqlite_sequence";
INSERT INTO "sqlite_sequence" VALUES('pim_objects',4);
COMMIT;
PRAGMA application_id=1330858310;
PRAGMA user_version=1;
)sql";

struct Version1File {
  const char* name;
  const char* bytes;
};

inline constexpr Version1File kVersion1Files[] = {
    {"Sync/pb/pol_pb_change.log",
     "M:1:20261122T161407Z:00000001\n"
     "M:2:20261122T161407Z:00000002\n"},
    {"Sync/pb/pol_pb_object.log",
     "00000001:2538473350\n"
     "00000002:2546993051\n"},
    {"Sync/pb/pol_pb_counter.log",
     "0000000001:0000000000:0000001001:00134397774176873781:0000351c4213\n"
     "0000000002:0000000002:0000000002:00134397774176877166:0000eb48131f\n"},
    {"Sync/pb/pol_pb_databaseid.log", "1x0i83tn\n"},
    {"Sync/cal/pol_cal_change.log",
     "M:1:20261122T161407Z:00000003\n"
     "M:2:20261122T161407Z:00000004\n"},
    {"Sync/cal/pol_cal_object.log",
     "00000003:2572033943\n"
     "00000004:2870151178\n"},
    {"Sync/cal/pol_cal_counter.log",
     "0000000001:0000000000:0000001001:00134397774176874766:0000da5856cb\n"
     "0000000002:0000000002:0000000002:00134397774176879178:000070e03ba2\n"},
    {"Sync/cal/pol_cal_databaseid.log", "k6cnxuuq\n"},
};

// Fills an empty folder.
inline void MakeVersion1Device(const std::string& folder) {
  for (const char* name : {"Documents", "Temp", "Sync", "Sync/pb", "Sync/cal"}) {
    std::filesystem::create_directory(folder + "/" + name);
  }
  for (const Version1File& file : kVersion1Files) PutBytes(folder + "/" + file.name, file.bytes);
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open((folder + "/device.db").c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, kVersion1Database, nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
}

}  // namespace support
