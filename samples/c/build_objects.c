/*
 * Builds a contact, an event that repeats, a note and a message from nothing, stores them and prints their ids.
 *
 * Everything that hangs from a record is allocated with malloc, each piece by itself, and belongs to the record from
 * then on: OSIF_FreeObject releases it.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "osif.h"

/* This example ends where memory does. */
static void* Allocate(size_t size) {
  void* memory = calloc(1, size);
  if (memory == NULL) abort();
  return memory;
}

static char* CopyText(const char* text) {
  const size_t size = strlen(text) + 1;
  return memcpy(Allocate(size), text, size);
}

/* Appends a parameter or a component. */
static void AppendText(OsifText** list, const char* text) {
  while (*list != NULL) list = &(*list)->next;
  *list = Allocate(sizeof **list);
  (*list)->text = CopyText(text);
  (*list)->used = 1;
}

/* Appends a value with one component; the caller may add more, and parameters. */
static PropertyValue* AppendValue(PropertyValue** list, const char* text) {
  while (*list != NULL) list = &(*list)->next;
  *list = Allocate(sizeof **list);
  AppendText(&(*list)->components, text);
  return *list;
}

static void FillContact(OsifObject* object) {
  OsifContact* contact = &object->contact;
  AppendText(&AppendValue(&contact->n, "Novak")->components, "Petra");
  AppendValue(&contact->fn, "Petra Novak");
  AppendText(&AppendValue(&contact->tel, "+420 555 0143")->params, "CELL");
  AppendText(&AppendValue(&contact->email, "petra.novak@example.org")->params, "INTERNET");
}

/* The texts of a value are what a file would hold: here a note of two lines. */
static void FillEvent(OsifObject* object) {
  OsifCalendar* event = &object->calendar;
  object->calendarKind = OSIF_CALENDAR_EVENT;
  AppendValue(&event->summary, "Choir");
  AppendValue(&event->dtStart, "20260305T190000");
  AppendValue(&event->dtEnd, "20260305T210000");
  AppendValue(&event->tail.event.rRule, "W1 TH #10");
  AppendValue(&event->tail.event.location, "Town hall");
  PropertyValue* description = AppendValue(&event->description, "Bring:=0D=0AThe blue folder");
  AppendText(&description->params, "ENCODING=QUOTED-PRINTABLE");
  description->flags = OSIF_VALUE_QUOTED_PRINTABLE;
}

static void FillNote(OsifObject* object) {
  AppendValue(&object->note.summary, "Shopping");
  AppendValue(&object->note.body, "Bread and tea");
}

static void FillMessage(OsifObject* object) {
  OsifMessage* message = &object->message;
  strcpy(message->xBtFolder, "INBOX");
  strcpy(message->date, "Thu, 05 Mar 2026 18:00:00 +0100");
  strcpy(message->from, "petra.novak@example.org");
  strcpy(message->to, "anna.smith@example.org");
  strcpy(message->subject, "Choir");
  strcpy(message->part.contentType, "text/plain");
  message->part.bodyText = CopyText("See you at seven.\n");
}

/* Records of 10 KB: this one serves for all. */
static OsifObject record;

static int Store(int32_t store_id, void (*fill)(OsifObject*)) {
  char id[OSIF_ID_SIZE] = "";
  memset(&record, 0, sizeof record);
  fill(&record);
  const OsifResult result = OSIF_AddObject(store_id, &record, id, NULL);
  OSIF_FreeObject(store_id, &record);
  if (result != OSIF_OK) {
    fprintf(stderr, "store %d: not added (code %u)\n", (int)store_id, (unsigned)result);
    return 0;
  }
  printf("store %d: %s\n", (int)store_id, id);
  return 1;
}

int main(void) {
  const OsifResult result = OSIF_Open();
  if (result != OSIF_OK) {
    fprintf(stderr, "the device cannot be opened (code %u)\n", (unsigned)result);
    return EXIT_FAILURE;
  }
  int stored = Store(OSIF_STORE_PB, FillContact);
  stored += Store(OSIF_STORE_CAL, FillEvent);
  stored += Store(OSIF_STORE_NOTE, FillNote);
  stored += Store(OSIF_STORE_MSG_IN, FillMessage);
  OSIF_Close();
  return stored == 4 ? EXIT_SUCCESS : EXIT_FAILURE;
}
