// Generated objects as files from several devices mix them: plain ASCII, quoted-printable UTF-8 and Latin-1,
// Latin-1 as it is, folded lines, long texts with soft line breaks. Nothing is drawn: the same number gives
// the same bytes.
#pragma once

#include <array>
#include <iterator>
#include <string>
#include <string_view>

#include "bench/support/generated_objects.h"

namespace bench {

inline constexpr std::string_view kUtf8Encoded = ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE";
inline constexpr std::string_view kLatin1Encoded = ";CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE";

using LineSet = std::array<std::string_view, 8>;

// Quoted-printable lines of a text: what handhelds send, no line longer than 76 characters, each line of the
// text followed by an encoded line break and a soft one, some lines broken softly in the middle of a
// sentence.
inline constexpr LineSet kUtf8Lines = {
    "Der Schl=C3=BCssel liegt beim Nachbarn, zweite T=C3=BCr links.=0D=0A=\r\n",
    "Sprechstunden: Mo, Di und Fr von 8 bis 12 Uhr, nachmittags nur nach=\r\n "
    "Vereinbarung.=0D=0A=\r\n",
    "Bitte vorher anrufen, die Z=C3=BCge fahren nur st=C3=BCndlich.=0D=0A=\r\n",
    "R=C3=A9union le premier jeudi du mois, salle 12, b=C3=A2timent C.=0D=0A=\r\n",
    "Konto 0042-117, F=C3=A4lligkeit am Ersten; W=C3=A4hrung =E2=82=AC.=0D=0A=\r\n",
    "Met at the harbour fair; asks for the new tables as soon as they are=\r\n printed.=0D=0A=\r\n",
    "=D0=90=D0=B4=D1=80=D0=B5=D1=81 =D0=B2 =D0=B3=D0=BE=D1=80=D0=BE=D0=B4=D0=B5.=0D=0A=\r\n",
    "Sends his regards to everybody on the night watch.=0D=0A=\r\n"};

inline constexpr LineSet kLatin1Lines = {
    "Gr=FC=DFe von der Fahrt nach G=F6teborg; das Schiff hatte Versp=E4tung.=0D=0A=\r\n",
    "Le d=E9jeuner est =E0 midi et demi, la r=E9union juste apr=E8s.=0D=0A=\r\n",
    "Ma=F1ana por la ma=F1ana, en el muelle.=0D=0A=\r\n",
    "Has the second set of charts and will bring them to the meeting on=\r\n Thursday.=0D=0A=\r\n",
    "Tel=E9fono de la oficina solamente hasta las dos.=0D=0A=\r\n",
    "Ring twice.=0D=0A=\r\n",
    "Zimmer 214, =FCber den Hof; der Aufzug f=E4hrt nicht bis ganz oben.=0D=0A=\r\n",
    "Prefers letters to calls, and calls to visits.=0D=0A=\r\n"};

inline constexpr LineSet kPlainLines = {
    "Call before nine or after six.",
    "Keeps the list of the moorings for the inner harbour and the fees.",
    "Two boxes of spare bulbs are in the store room, on the upper shelf.",
    "The contract runs until the end of next year and is renewed by itself.",
    "Ask for the other Jan.",
    "Account 7741 0032, due on the first of each month, paid by transfer.",
    "Left the pilots in spring, still has a key.",
    "Meetings on the first Thursday, room 12, second floor, door code 4417."};

// What follows on a line, and on the last line, of a text of several lines: a plain one's in a
// quoted-printable value, where the last ends without a soft line break; and one's in a folded value.
inline constexpr std::string_view kEncodedLineEnd = "=0D=0A=\r\n";
inline constexpr std::string_view kEncodedEnd = "--=20\r\n";
inline constexpr std::string_view kFold = "\r\n ";
inline constexpr std::string_view kFoldedEnd = "That is all.\r\n";

// `count` of the lines, from one on that the number chooses.
inline std::string Lines(const LineSet& lines, int number, int count,
                         std::string_view line_end = "") {
  std::string text;
  for (int i = 0; i < count; ++i) text.append(lines[(number / 8 + i) % 8]).append(line_end);
  return text;
}

// Plain lines of a value that is folded: each continues after a line end and a blank.
inline std::string FoldedLines(int number, int count) {
  return Joined({Lines(kPlainLines, number, count, kFold), kFoldedEnd});
}

// A quoted-printable value of so many lines; the last one ends without a soft line break.
inline std::string EncodedLines(const LineSet& lines, int number, int count) {
  return Joined({Lines(lines, number, count), kEncodedEnd});
}

// ---- Cards ---------------------------------------------------------------------------------------------

// A property line of a card. Each "*" stands for the kind's own character set and encoding, each "%d" for a
// number made of the card's.
struct CardLine {
  const char* format;
  int modulus = 0;  // the number goes round at it; 0: it does not
  int more = 0;     // how far the number is beyond the card's

  std::string Text(int number) const {
    return Numbered(format, (modulus == 0 ? number : number % modulus) + more);
  }
};

// A text of several lines, begun with the property's name.
struct CardNote {
  std::string_view begin;
  const LineSet* lines = nullptr;  // null for a card without a note
  int count = 0;
  std::string_view line_end;  // after each line
  std::string_view end;       // after the last one
};

// What a kind of device or program puts into its cards.
struct CardKind {
  std::string_view encoding;
  std::string_view family;
  std::string_view given;
  std::array<CardLine, 14> properties;  // those with a format
  CardNote note;
};

inline constexpr CardKind kCardKinds[] = {
    // A telephone's.
    {"",
     "Harrow",
     "Edith",
     {{{"TEL;PREF;CELL;VOICE:+44 7700 %06d"},
       {"TEL;HOME;VOICE:+44 1632 %06d"},
       {"EMAIL;INTERNET;PREF:edith.%d@example.org"},
       {"ADR;HOME:;;14 Mill Lane;Upper Northgate;Examshire;NG2 7QX;United Kingdom"},
       {"BDAY:19640229"}}},
     {"NOTE:", &kPlainLines, 1, "", "\r\n"}},
    // One that encodes whatever is not ASCII, in UTF-8.
    {kUtf8Encoded,
     "M=C3=BC=C3=9Fig",
     "J=C3=B6rg",
     {{{"ORG*:L=C3=B6schwasser & S=C3=B6hne;Stra=C3=9Fenbau"},
       {"TITLE*:Gesch=C3=A4ftsf=C3=BChrer"},
       {"TEL;CELL;VOICE:+49 171 %07d"},
       {"TEL;WORK;VOICE:+49 30 %07d"},
       {"TEL;WORK;FAX:+49 30 %07d", 0, 1},
       {"EMAIL;INTERNET:joerg.%d@example.de"},
       {"ADR;WORK*:;;Sch=C3=B6nhauser Stra=C3=9Fe 17;K=C3=B6penick;Brandenburg;12555;"
        "=C3=96sterreich"}}},
     {"NOTE*:", &kUtf8Lines, 9, "", kEncodedEnd}},
    // The same in Latin-1.
    {kLatin1Encoded,
     "Fen=EAtre",
     "Aur=E9lie",
     {{{"ORG*:Caf=E9 du March=E9;Comptabilit=E9"},
       {"TEL;CELL;VOICE:+33 6 %08d"},
       {"TEL;HOME;VOICE:+33 1 %08d"},
       {"EMAIL;INTERNET:aurelie.%d@example.fr"},
       {"ADR;HOME*:;;3 rue de l'=C9glise;Saint-=C9tienne;;42000;France"}}},
     {"NOTE*:", &kLatin1Lines, 10, "", kEncodedEnd}},
    // Latin-1 as it is.
    {";CHARSET=ISO-8859-1",
     "Ib\xE1\xF1"
     "ez",
     "Bego\xF1"
     "a",
     {{{"ORG*:Compa\xF1\xED"
        "a Mar\xED"
        "tima;Direcci\xF3"
        "n"},
       {"TITLE*:Capit\xE1"
        "n"},
       {"TEL;CELL:+34 600 %06d"},
       {"TEL;WORK:+34 910 %06d"},
       {"EMAIL;INTERNET:begona.%d@example.es"},
       {"ADR;WORK*:;;Calle del Marqu\xE9s 8;Logro\xF1o;La Rioja;26001;Espa\xF1"
        "a"},
       {"NOTE*:Ma\xF1"
        "ana por la ma\xF1"
        "ana\\; despu\xE9s, en la oficina."}}},
     {}},
    // A desktop program's: everything twice, folded.
    {"",
     "van Dale",
     "Pieter",
     {{{"NICKNAME:Piet\r\nORG:Northgate Pilots;Night watch\r\nTITLE:Harbour pilot"},
       {"ROLE:Second officer\r\nURL:http://pilots.example.com/people/"},
       {"TEL;WORK;VOICE:+1 555 %07d\r\nTEL;WORK;VOICE:+1 556 %07d"},
       {"TEL;HOME;VOICE:+1 557 %07d\r\nTEL;HOME;FAX:+1 558 %07d"},
       {"TEL;CELL;VOICE:+1 559 %07d\r\nTEL;PAGER:+1 560 %07d"},
       {"EMAIL;PREF;INTERNET:pieter.%d@pilots.example.com"},
       {"EMAIL;INTERNET:p.vandale%d@example.net"},
       {"EMAIL;INTERNET:vandale.%d@mail.example.org"},
       {"ADR;WORK:;Pilot station;%d Quay Street;Northgate;;10100;Examplia", 200},
       {"ADR;HOME:;;%d Hill Road;Upper Northgate;;10117;Examplia", 90},
       {"BDAY:19710423\r\nX-SPOUSE:Carla\r\nX-ANNIVERSARY:19980606\r\nX-CAT:Business"}}},
     {"NOTE:", &kPlainLines, 6, kFold, kFoldedEnd}},
    // ASCII with a long encoded note.
    {"",
     "Abara",
     "Tunde",
     {{{"TEL;CELL;VOICE:+234 803 %07d"},
       {"EMAIL;INTERNET:tunde.%d@example.ng"},
       {"ADR;HOME:;Flat 4;22 Marina Road;Lagos;;101001;Nigeria"}}},
     {"NOTE;ENCODING=QUOTED-PRINTABLE:", &kPlainLines, 17, kEncodedLineEnd, kEncodedEnd}},
    // UTF-8 in another alphabet, several numbers.
    {kUtf8Encoded,
     "=D0=9A=D0=BE=D0=B2=D0=B0=D0=BB=D1=8C",
     "=D0=9E=D0=BB=D0=B5=D0=BD=D0=B0",
     {{{"TEL;PREF;CELL:+380 44 %07d"},
       {"TEL;WORK:+380 45 %07d"},
       {"TEL;HOME:+380 46 %07d"},
       {"TEL;WORK;FAX:+380 47 %07d"},
       {"EMAIL;INTERNET:olena.%d@example.ua"},
       {"EMAIL;INTERNET:o.koval%d@example.com"},
       {"ADR;HOME*:;;=D0=9C=D0=BE=D1=80=D1=81=D1=8C=D0=BA=D0=B0 17;=D0=9E=D0=B4=D0=B5=D1=81=D0=B0;;"
        "65000;=D0=A3=D0=BA=D1=80=D0=B0=D1=97=D0=BD=D0=B0"}}},
     {"NOTE*:", &kUtf8Lines, 8, "", kEncodedEnd}},
    // From a SIM card.
    {"", "Dunmore", "F", {{{"TEL;CELL:+15550%06d"}}}, {}},
};

// A text with a kind's encoding in the place of each "*".
inline std::string Encoded(std::string_view text, std::string_view encoding) {
  std::string encoded(text);
  for (size_t at; (at = encoded.find('*')) != std::string::npos;) encoded.replace(at, 1, encoding);
  return encoded;
}

// A name of its own for each number below 1,000,000; twenty of 20,000 people share a family name.
inline std::string NameOf(const CardKind& kind, int number) {
  const std::string of_family = Numbered("%03d", number % 1000);
  const std::string of_given = Numbered("%d", number / 1000);
  return Joined({"N", kind.encoding, ":", kind.family, of_family, ";", kind.given, of_given,
                 "\r\nFN", kind.encoding, ":", kind.given, of_given, " ", kind.family, of_family,
                 "\r\n"});
}

// A card of about 900 bytes on average, of a kind by its number.
inline std::string MixedCard(int number, int) {
  const CardKind& kind = kCardKinds[static_cast<size_t>(number) % std::size(kCardKinds)];
  std::string card = Joined({"BEGIN:VCARD\r\nVERSION:2.1\r\n", NameOf(kind, number)});
  for (const CardLine& line : kind.properties) {
    if (line.format == nullptr) break;
    card.append(Encoded(line.Text(number), kind.encoding)).append("\r\n");
  }
  const CardNote& note = kind.note;
  if (note.lines != nullptr) {
    card.append(Encoded(note.begin, kind.encoding))
        .append(Lines(*note.lines, number, note.count, note.line_end))
        .append(note.end);
  }
  return card + "END:VCARD\r\n";
}

// ---- Events --------------------------------------------------------------------------------------------

// An event of one of four kinds.
inline std::string MixedEvent(int number, int) {
  const std::string start = StartOf(number);
  std::string event = Joined({"BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nDTSTART:", start,
                              "\r\nDTEND:", std::string_view(start).substr(0, 11), "4500\r\n"});
  switch (number % 4) {
    case 0:
      event += Joined({Numbered("SUMMARY:Watch %d\r\n", number),
                       "LOCATION:Pilot station\r\nCATEGORIES:MEETING\r\nPRIORITY:1\r\n"});
      break;
    case 1:
      event += Joined({"SUMMARY", kUtf8Encoded, Numbered(":=C3=9Cbergabe %d\r\n", number),
                       "LOCATION", kUtf8Encoded, ":B=C3=BCro am Hafen\r\nDESCRIPTION", kUtf8Encoded,
                       ":", EncodedLines(kUtf8Lines, number, 8), "DALARM:", start, ";;;Soon\r\n"});
      break;
    case 2:
      event += Joined({"SUMMARY", kLatin1Encoded, Numbered(":D=E9jeuner %d\r\n", number),
                       "LOCATION;CHARSET=ISO-8859-1:Caf\xE9 du March\xE9\r\nDESCRIPTION",
                       kLatin1Encoded, ":", EncodedLines(kLatin1Lines, number, 6),
                       "RRULE:W1 MO TH #10\r\nAALARM:", start, ";PT5M;2;\r\n"});
      break;
    default:
      event +=
          Joined({Numbered("SUMMARY:Night watch at the outer harbour %d\r\n", number),
                  "LOCATION:Light ship\r\nCLASS:PRIVATE\r\nDESCRIPTION:", FoldedLines(number, 8),
                  "ATTENDEE;ROLE=ATTENDEE;STATUS=ACCEPTED:Pieter van Dale <pieter@example.com>\r\n",
                  "ATTENDEE;ROLE=ATTENDEE:edith@example.org\r\nDALARM:", start, ";;;Soon\r\n"});
      break;
  }
  return event + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

// ---- Notes ---------------------------------------------------------------------------------------------

inline std::string MixedNote(int number, int) {
  std::string note = "BEGIN:VNOTE\r\nVERSION:1.1\r\n";
  switch (number % 4) {
    case 0:
      note += Joined(
          {Numbered("SUMMARY:Note %d\r\n", number), "BODY:", kPlainLines[number / 8 % 8], "\r\n"});
      break;
    case 1:
      note += Joined({"SUMMARY", kUtf8Encoded, Numbered(":Schl=C3=BCssel %d\r\n", number), "BODY",
                      kUtf8Encoded, ":", EncodedLines(kUtf8Lines, number, 16)});
      break;
    case 2:
      note += Joined({"SUMMARY", kLatin1Encoded, Numbered(":M=E9mo %d\r\n", number), "BODY",
                      kLatin1Encoded, ":", EncodedLines(kLatin1Lines, number, 12)});
      break;
    default:
      note += Joined(
          {Numbered("SUMMARY:Tide tables %d\r\n", number),
           "BODY;ENCODING=QUOTED-PRINTABLE:", Lines(kPlainLines, number, 12, kEncodedLineEnd),
           kEncodedEnd, "CATEGORIES:Business\r\n"});
      break;
  }
  return note +
         "DCREATED:20050314T101500Z\r\nLAST-MODIFIED:20050315T101500Z\r\n"
         "CLASS:PUBLIC\r\nEND:VNOTE\r\n";
}

// ---- Messages ------------------------------------------------------------------------------------------

inline std::string MixedMessage(int number, int) {
  std::string message =
      Joined({"BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:", number % 3 == 0 ? "UNREAD" : "READ",
              "\r\nX-IRMC-TYPE:MSG\r\nX-BT-FOLDER:INBOX\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\n"
              "MIME-Version: 1.0\r\nDate: Wed, 02 Jan 2002 10:11:12 GMT\r\n",
              Numbered("From: person.%d@example.com\r\nSubject: Report %d\r\n", number),
              "To: station@example.com; night.watch@example.com\r\nCc: office@example.com\r\n"});
  switch (number % 4) {
    case 0:
      message +=
          Joined({"Content-Type: text/plain; charset=us-ascii\r\n"
                  "Content-Transfer-Encoding: 7bit\r\n\r\n",
                  Lines(kPlainLines, number, 20, "\r\n")});
      break;
    case 1:
      message +=
          Joined({"Content-Type: text/plain; charset=UTF-8\r\n"
                  "Content-Transfer-Encoding: quoted-printable\r\n\r\n",
                  EncodedLines(kUtf8Lines, number, 20)});
      break;
    case 2:
      message +=
          Joined({"Content-Type: text/plain; charset=ISO-8859-1\r\n"
                  "Content-Transfer-Encoding: quoted-printable\r\n\r\n",
                  EncodedLines(kLatin1Lines, number, 20)});
      break;
    default:
      message +=
          Joined({"Content-Type: text/html; charset=us-ascii\r\n"
                  "Content-Transfer-Encoding: 7bit\r\n\r\n<html><body><p>\r\n",
                  Lines(kPlainLines, number, 20, "<br>\r\n"), "</p></body></html>\r\n"});
      break;
  }
  return message + "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n";
}

}  // namespace bench
