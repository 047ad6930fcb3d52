// Generated objects as text: the same for the same number, so that every run measures the same work.
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

namespace bench {

// The text of `format` with a number in the place of "%d", as often as it is there (five times at most).
inline std::string Numbered(const char* format, int number) {
  char text[256];
  std::snprintf(text, sizeof text, format, number, number, number, number, number);
  return text;
}

// One text of several. (Chains of "+" make g++ 12 warn of overlaps that there are not.)
inline std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text.append(part);
  return text;
}

// An address book of `count` people has about as many family names as twentieths of them, and some
// hundreds of given names. Family and given name together are unique.
inline std::string NameLine(int number, int count) {
  const int families = count / 20 + 1;
  return Joined(
      {Numbered("N:Family%d;", number % families), Numbered("Given%d\r\n", number / families)});
}

// A card as a phone sends it: one text is quoted-printable, the others are plain.
inline std::string Card(int number, int count) {
  return Joined({"BEGIN:VCARD\r\nVERSION:2.1\r\n", NameLine(number, count),
                 Numbered("FN:Person %d of the address book\r\n", number),
                 "ORG:Northgate Pilots;Night watch\r\nTITLE:Harbour pilot\r\n",
                 Numbered("TEL;CELL;VOICE:+1 555 %07d\r\nTEL;WORK;VOICE:+1 556 %07d\r\n", number),
                 Numbered("EMAIL;INTERNET:person.%d@example.com\r\n", number),
                 Numbered("ADR;WORK:;;%d Quay Street;Northgate;;10100;Examplia\r\n", number % 200),
                 "BDAY:19710423\r\n"
                 "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:F=C3=A4hrt nachts=0D=0A=\r\n"
                 "und am Hafen\r\nEND:VCARD\r\n"});
}

// The start of an appointment: one every hour from 2005 on, 28 days a month.
inline std::string StartOf(int number) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02d%02dT%02d0000", 2005 + number / 8064,
                number / 672 % 12 + 1, number / 24 % 28 + 1, number % 24);
  return text;
}

// `summary` is the whole line.
inline std::string EventOf(std::string_view summary, int number) {
  const std::string start = StartOf(number);
  return Joined({"BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n", summary, "DTSTART:", start,
                 "\r\nDTEND:", std::string_view(start).substr(0, 11), "4500\r\n",
                 "LOCATION:Pilot station\r\nCATEGORIES:MEETING\r\n"
                 "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=9Cbergabe=0D=0A=\r\n"
                 "an die Nacht\r\nPRIORITY:1\r\nCLASS:PUBLIC\r\nDALARM:",
                 start, ";;;Soon\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"});
}

inline std::string Event(int number) {
  return EventOf(Numbered("SUMMARY:Watch %d\r\n", number), number);
}

// Events that a search by their subject does not tell apart.
inline std::string EventOfOneSubject(int number) { return EventOf("SUMMARY:Watch\r\n", number); }

// Events that have no subject at all.
inline std::string EventWithoutSubject(int number) { return EventOf("", number); }

inline std::string Task(int number) {
  return Joined({"BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\n",
                 Numbered("SUMMARY:Check buoy %d\r\n", number), "DUE:", StartOf(number),
                 "\r\nPRIORITY:1\r\nSTATUS:NEEDS ACTION\r\nEND:VTODO\r\nEND:VCALENDAR\r\n"});
}

inline std::string Note(int number) {
  return Joined({"BEGIN:VNOTE\r\nVERSION:1.1\r\n", Numbered("SUMMARY:Note %d\r\n", number),
                 "BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Tide tables=0D=0A=\r\n"
                 "are in the drawer=0D=0A=\r\nleft of the radio\r\n"
                 "DCREATED:20050314T101500Z\r\nLAST-MODIFIED:20050315T101500Z\r\n"
                 "CLASS:PUBLIC\r\nEND:VNOTE\r\n"});
}

inline std::string Message(int number) {
  std::string body;
  for (int line = 0; line < 20; ++line) {
    body += Numbered("Line %d of a message of the usual length.\r\n", line);
  }
  return Joined(
      {"BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:UNREAD\r\nX-IRMC-TYPE:MSG\r\n"
       "X-BT-FOLDER:INBOX\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nMIME-Version: 1.0\r\n"
       "Date: Wed, 02 Jan 2002 10:11:12 GMT\r\n",
       Numbered("From: person.%d@example.com\r\nSubject: Report %d\r\n", number),
       "To: station@example.com\r\nContent-Type: text/plain; charset=us-ascii\r\n"
       "Content-Transfer-Encoding: 7bit\r\n\r\n",
       body, "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n"});
}

// The texts of the objects 0 to `count` - 1, one after the other.
template <typename Make>
std::string Repeated(int count, Make make) {
  std::string text;
  for (int number = 0; number < count; ++number) text += make(number);
  return text;
}

}  // namespace bench
