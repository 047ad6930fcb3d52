#include "platform/device/pim/schema.h"

#include "platform/device/pim/appointment_table.h"
#include "platform/device/pim/changes.h"
#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/recipients.h"
#include "platform/device/pim/series.h"
#include "platform/device/pim/table.h"
#include "platform/device/pim/task_table.h"

namespace device {
namespace {

// AUTOINCREMENT keeps the highest id ever given, so that an id is not given twice. Programs see ids
// as signed 32-bit numbers.
constexpr char kObjects[] = R"(
CREATE TABLE pim_objects(
  oid INTEGER PRIMARY KEY AUTOINCREMENT CHECK(oid BETWEEN 1 AND 2147483647),
  folder INTEGER NOT NULL);
CREATE INDEX pim_objects_by_folder ON pim_objects(folder);
)";

// Names are searched for whole, with parts that are not there, and by any of their parts. The figures for the
// query planner (rows in all, rows that one value of the first column finds, and of the columns after it) are
// those of a large address book: they make it take the part that tells the most from among those asked for.
// SQLite measures nothing by itself.
constexpr char kContactIndexes[] = R"(
CREATE INDEX pim_contacts_by_name
  ON pim_contacts(last_name, first_name, middle_name, title, suffix);
CREATE INDEX pim_contacts_by_first_name ON pim_contacts(first_name, middle_name)
  WHERE first_name IS NOT NULL;
CREATE INDEX pim_contacts_by_middle_name ON pim_contacts(middle_name) WHERE middle_name IS NOT NULL;
CREATE INDEX pim_contacts_by_suffix ON pim_contacts(suffix) WHERE suffix IS NOT NULL;
CREATE INDEX pim_contacts_by_title ON pim_contacts(title) WHERE title IS NOT NULL;
ANALYZE pim_contacts;
DELETE FROM sqlite_stat1 WHERE tbl = 'pim_contacts';
INSERT INTO sqlite_stat1(tbl, idx, stat) VALUES
  ('pim_contacts', 'pim_contacts_by_name', '100000 20 2 1 1 1'),
  ('pim_contacts', 'pim_contacts_by_first_name', '100000 100 20'),
  ('pim_contacts', 'pim_contacts_by_middle_name', '100000 500'),
  ('pim_contacts', 'pim_contacts_by_suffix', '100000 2000'),
  ('pim_contacts', 'pim_contacts_by_title', '100000 5000');
ANALYZE sqlite_schema;
)";

// Appointments are searched for by their start and their subject, or, without one, their body. Of one
// subject, or at one time, there can be any number.
constexpr char kCalendarIndexes[] = R"(
CREATE INDEX pim_appointments_by_subject ON pim_appointments(subject, start_date)
  WHERE subject IS NOT NULL;
CREATE INDEX pim_appointments_by_start ON pim_appointments(start_date, body);
CREATE INDEX pim_tasks_by_subject ON pim_tasks(subject) WHERE subject IS NOT NULL;
)";

}  // namespace

std::string PimSchema() {
  return kObjects + CreateTableSql(*ContactTable()) + kContactIndexes +
         CreateTableSql(*AppointmentTable()) + CreateTableSql(*TaskTable()) + kCalendarIndexes +
         RecipientsSchema() + SeriesSchema() + PimSchemaSince1();
}

std::string PimSchemaSince1() { return ChangesSchema(); }

}  // namespace device
