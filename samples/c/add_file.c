/*
 * Stores every object of a file and prints the ids: the library used from C, with its one header.
 *
 *   add_file FILE
 */
#include <stdio.h>
#include <stdlib.h>

#include "osif.h"

/* The longest file name that this example takes, in characters. */
enum { kNameRoom = 1024 };

/* What the callback counts; the library hands it through unchanged. */
typedef struct Totals {
  int added;
  int failed;
} Totals;

/* Texts of the library are UTF-16; the result texts are plain ASCII. */
static void PrintResult(const char* what, OsifResult code) {
  fprintf(stderr, "%s: ", what);
  for (const WCHAR* text = OSIF_CodeToString(code); *text != 0; ++text) fputc((int)*text, stderr);
  fprintf(stderr, " (code %u)\n", (unsigned)code);
}

/* Widens a file name. This example takes plain ASCII names only; 0 for any other. */
static int Widen(const char* name, WCHAR* wide, size_t room) {
  size_t length = 0;
  for (; name[length] != '\0'; ++length) {
    if (length + 1 == room || (unsigned char)name[length] > 127) return 0;
    wide[length] = (WCHAR)name[length];
  }
  wide[length] = 0;
  return 1;
}

/* Called once for each object of the file. The record is lent: it has to be stored before we return. */
static int32_t AddOne(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  Totals* totals = context;
  char id[OSIF_ID_SIZE] = "";
  const OsifResult added = OSIF_AddObject(store_id, object, id, NULL);
  if (added != OSIF_OK) {
    PrintResult("not added", added);
    ++totals->failed;
    return 0;
  }
  printf("store %d: %s%s\n", (int)store_id, id,
         result == OSIF_PARSE_WARNING ? " (something was not understood)" : "");
  ++totals->added;
  return 0;
}

int main(int argc, char** argv) {
  static WCHAR name[kNameRoom];
  if (argc != 2 || !Widen(argv[1], name, kNameRoom)) {
    fprintf(stderr, "usage: add_file FILE\n");
    return 2;
  }

  OsifResult result = OSIF_Open();
  if (result != OSIF_OK) {
    PrintResult("the device", result);
    return EXIT_FAILURE;
  }

  Totals totals = {0, 0};
  result = OSIF_ReadObjects(name, AddOne, &totals);
  OSIF_Close();

  if (result != OSIF_OK) PrintResult(argv[1], result);
  printf("%d added\n", totals.added);
  return result == OSIF_OK && totals.failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
