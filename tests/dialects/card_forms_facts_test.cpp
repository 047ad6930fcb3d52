// Cards on their way out of the store: what the library sends of them, in vCard 3.0 and 4.0.
#include "tests/dialects/stored_contact.h"

namespace card_forms_facts_test {
namespace {

using dialects::Form;
using dialects::ObjectKind;
using dialects::Origin;
using dialects::WrittenObject;
using stored_contact::ContactStore;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

using Lines = std::vector<std::string>;

class SentCards : public ContactStore {
 protected:
  // Of Ann Lee's card with these further lines, what goes out beside her name; `names` of 3.0 or 4.0.
  Lines Ann(Form form, Lines lines) const {
    lines.insert(lines.begin(), {"N:Lee;Ann", "FN:Ann Lee"});
    Lines sent = SentAs(form, "2.1", lines);
    const Lines names = {form == Form::kVCard30 ? "VERSION:3.0" : "VERSION:4.0", "N:Lee;Ann;;;",
                         "FN:Ann Lee"};
    EXPECT_THAT(sent, IsSupersetOf(names));
    std::erase_if(sent, [&](const std::string& line) {
      return std::ranges::find(names, line) != names.end();
    });
    return sent;
  }

  static WrittenObject Written(Form form, const std::string& text,
                               Origin origin = Origin::kAnyone) {
    const dialects::WriterSettings settings{{}, origin, ""};
    return dialects::MakeCardWriter(form, settings)
        ->Write({.kind = ObjectKind::kCard, .text = text});
  }
};

struct Row {
  Lines stored;
  Lines in_30;
  Lines in_40;
};

class SentCardsOfRows : public SentCards, public testing::WithParamInterface<Row> {};

TEST_P(SentCardsOfRows, GoOutInBothVersions) {
  const Row& row = GetParam();
  EXPECT_THAT(Ann(Form::kVCard30, row.stored), UnorderedElementsAreArray(row.in_30));
  EXPECT_THAT(Ann(Form::kVCard40, row.stored), UnorderedElementsAreArray(row.in_40));
}

INSTANTIATE_TEST_SUITE_P(
    OneEach, SentCardsOfRows,
    testing::Values(
        Row{{}, {}, {}},
        Row{{"ORG:Bolt;Sales, North"}, {"ORG:Bolt;Sales\\, North"}, {"ORG:Bolt;Sales\\, North"}},
        Row{{"TITLE:boss"}, {"TITLE:boss"}, {"TITLE:boss"}},
        Row{{"TEL;HOME:1", "TEL;HOME:2"},
            {"TEL;TYPE=home,voice:1", "TEL;TYPE=home,voice:2"},
            {"TEL;TYPE=\"home,voice\":1", "TEL;TYPE=\"home,voice\":2"}},
        Row{{"TEL;WORK:1", "TEL;WORK:2"},
            {"TEL;TYPE=work,voice:1", "TEL;TYPE=work,voice:2"},
            {"TEL;TYPE=\"work,voice\":1", "TEL;TYPE=\"work,voice\":2"}},
        Row{{"TEL;HOME;FAX:1", "TEL;WORK;FAX:2"},
            {"TEL;TYPE=home,fax:1", "TEL;TYPE=work,fax:2"},
            {"TEL;TYPE=\"home,fax\":1", "TEL;TYPE=\"work,fax\":2"}},
        Row{{"TEL;CELL:1"}, {"TEL;TYPE=cell:1"}, {"TEL;TYPE=cell:1"}},
        Row{{"TEL;PAGER:1", "TEL;CAR:2"},
            {"TEL;TYPE=pager:1", "TEL;TYPE=car:2"},
            {"TEL;TYPE=pager:1", "TEL;TYPE=x-car:2"}},
        Row{{"TEL;RADIO:1"}, {"TEL;TYPE=x-radio:1"}, {"TEL;TYPE=x-radio:1"}},
        Row{{"TEL;TYPE=X-ASSISTANT:1"}, {"TEL;TYPE=x-assistant:1"}, {"TEL;TYPE=x-assistant:1"}},
        Row{{"EMAIL;INTERNET:a@x.example", "EMAIL;INTERNET:b@x.example"},
            {"EMAIL;TYPE=internet,pref:a@x.example", "EMAIL;TYPE=internet:b@x.example"},
            {"EMAIL;PREF=1:a@x.example", "EMAIL:b@x.example"}},
        Row{{"ADR;HOME:;;H 1;X;;;", "ADR;WORK:;;W 1;Y;;;", "ADR:;;O 1;Z;;;"},
            {"ADR;TYPE=home:;;H 1;X;;;", "ADR;TYPE=work:;;W 1;Y;;;", "ADR;TYPE=postal:;;O 1;Z;;;"},
            {"ADR;TYPE=home:;;H 1;X;;;", "ADR;TYPE=work:;;W 1;Y;;;", "ADR:;;O 1;Z;;;"}},
        Row{{"X-MICROSOFT-OFFICELOC:B 2", "ADR;WORK:;;W 1;Y;;;"},
            {"ADR;TYPE=work:;B 2;W 1;Y;;;"},
            {"ADR;TYPE=work:;B 2;W 1;Y;;;"}},
        Row{{"X-MICROSOFT-OFFICELOC:B 2"},
            {"ADR;TYPE=work:;B 2;;;;;"},
            {"ADR;TYPE=work:;B 2;;;;;"}},
        Row{{"URL:http://a.example/?b,c;d"},
            {"URL:http://a.example/?b,c;d"},
            {"URL:http://a.example/?b,c;d"}},
        Row{{"NOTE;ENCODING=QUOTED-PRINTABLE:a,=0D=0A=5C=5Cb=3B"},
            {"NOTE:a\\,\\n\\\\b\\;"},
            {"NOTE:a\\,\\n\\\\b\\;"}},
        Row{{"BDAY:19991231"}, {"BDAY:1999-12-31"}, {"BDAY:19991231"}},
        Row{{"X-ANNIVERSARY:20011231"}, {"X-ANNIVERSARY:2001-12-31"}, {"ANNIVERSARY:20011231"}},
        Row{{"X-SPOUSE:Bo"}, {"X-SPOUSE:Bo"}, {"RELATED;TYPE=spouse;VALUE=text:Bo"}},
        Row{{"X-CHILDREN:Cy, Di"},
            {"X-CHILDREN:Cy,Di"},
            {"RELATED;TYPE=child;VALUE=text:Cy", "RELATED;TYPE=child;VALUE=text:Di"}},
        Row{{"X-ASSISTANT:Ed"}, {"X-ASSISTANT:Ed"}, {"RELATED;TYPE=agent;VALUE=text:Ed"}},
        Row{{"X-CAT:work,chess"}, {"CATEGORIES:work,chess"}, {"CATEGORIES:work,chess"}}));

TEST_F(SentCards, TheVersionStandsFirst) {
  EXPECT_EQ(SentAs(Form::kVCard40, "2.1", {"N:Lee;Ann", "FN:Ann Lee"}).front(), "VERSION:4.0");
}

TEST_F(SentCards, ANameThatWasMadeOfTheFormattedOneIsLeftOutOf40) {
  EXPECT_THAT(SentAs(Form::kVCard40, "4.0", {"FN:Jo van Doe"}),
              ElementsAre("VERSION:4.0", "FN:Jo van Doe"));
  EXPECT_THAT(SentAs(Form::kVCard30, "4.0", {"FN:Jo van Doe"}),
              UnorderedElementsAreArray(Lines{"VERSION:3.0", "N:Jo van Doe;;;;", "FN:Jo van Doe"}));
}

TEST_F(SentCards, AFormattedNameIsMadeWhereThereIsNone) {
  struct Made {
    Lines stored;
    std::string name;
  };
  for (const auto& [stored, name] : {Made{{"N:Lee;Ann;Mary;Dr.;PhD"}, "FN:Dr. Ann Mary Lee PhD"},
                                     Made{{"N:Lee;Ann", "ORG:Bolt"}, "FN:Ann Lee"}}) {
    for (const Form form : {Form::kVCard30, Form::kVCard40}) {
      EXPECT_THAT(SentAs(form, "2.1", stored), Contains(name));
    }
  }
  const auto of = [](const std::string& lines) {
    return "BEGIN:VCARD\r\nVERSION:2.1\r\nN:;;;;\r\n" + lines + "END:VCARD\r\n";
  };
  for (const Form form : {Form::kVCard30, Form::kVCard40}) {
    EXPECT_THAT(
        InnerLines(Written(form, of("ORG:Bolt;x\r\nEMAIL;INTERNET:a@x.example\r\nTEL:1\r\n")).text),
        Contains("FN:Bolt"));
    EXPECT_THAT(InnerLines(Written(form, of("EMAIL;INTERNET:a@x.example\r\nTEL:1\r\n")).text),
                Contains("FN:a@x.example"));
    EXPECT_THAT(InnerLines(Written(form, of("TEL:1\r\n")).text), Contains("FN:1"));
  }
}

TEST_F(SentCards, LongLinesAreFoldedAt75BytesAndNeverInsideOfACharacterOrAnEscape) {
  std::string note;
  std::string escaped;
  for (int i = 0; i < 60; ++i) {
    note += "\xE8\xA6\x8B,\xF0\x9F\x98\x80;x";
    escaped += "\xE8\xA6\x8B\\,\xF0\x9F\x98\x80\\;x";
  }
  for (size_t offset = 0; offset < 8; ++offset) {
    const std::string pad(offset, 'p');
    for (const Form form : {Form::kVCard30, Form::kVCard40}) {
      const std::string text =
          Written(form, CardOf("2.1", {"N:Lee", "FN:Lee", "NOTE:" + pad + note})).text;
      for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find("\r\n", begin);
        ASSERT_NE(end, std::string::npos);
        const std::string line = text.substr(begin, end - begin);
        EXPECT_LE(line.size(), 75U);
        EXPECT_TRUE(dialects::IsUtf8(line)) << line;
        EXPECT_FALSE(line.ends_with("\\")) << line;
        begin = end + 2;
      }
      EXPECT_THAT(InnerLines(text), Contains("NOTE:" + pad + escaped));
    }
  }
}

TEST_F(SentCards, NoEscapeIsBrokenHoweverManyBackslashesThereAre) {
  for (size_t offset = 0; offset < 3; ++offset) {
    const std::string note = std::string(offset, 'p') + std::string(200, '\\');
    const std::string text =
        Written(Form::kVCard30, CardOf("3.0", {"N:Lee", "FN:Lee", "NOTE:" + note})).text;
    EXPECT_LT(text.size(), 400U);
    for (size_t begin = 0; begin < text.size();) {
      const size_t end = text.find("\r\n", begin);
      size_t backslashes = 0;
      while (text[end - 1 - backslashes] == '\\') ++backslashes;
      EXPECT_EQ(backslashes % 2, 0U);
      begin = end + 2;
    }
    EXPECT_EQ(ReceiveFile(text).Only()["note"], std::string(offset, 'p') + std::string(100, '\\'));
  }
}

TEST_F(SentCards, NoValueBreaksItsLine) {
  for (const std::string line : {"REV:1999\\nTEL:6",
                                 "REV:19990101T\\nTEL:6",
                                 "GEO:1\\nTEL:6;2",
                                 "GEO:geo:1,2\\nTEL:6",
                                 "PHOTO:data:image/jpeg;base64,AA\\nTEL:6",
                                 "PHOTO:x\\nTEL:6",
                                 "KEY:a:b\\nTEL:6",
                                 "X-FOO;VALUE=\"a^nTEL:6^n\":x",
                                 "X-FOO;TYPE=\"a^nTEL:6^n\":x",
                                 "X-FOO;X=\"a^nTEL:6^n\":x",
                                 "UID:x\\nTEL:6",
                                 "URL:x\\nTEL:6",
                                 "BDAY:x\\nTEL:6",
                                 "BDAY:19990101T\\nTEL:6",
                                 "BDAY:--12\\nTEL:6",
                                 "NICKNAME:a,b\\nTEL:6",
                                 "NOTE:x\\nTEL:6",
                                 "X-FOO:a;b\\nTEL:6",
                                 "IMPP:a:b\\nTEL:6",
                                 "SORT-STRING:x\\nTEL:6",
                                 "N;SORT-AS=\"a^nTEL:6\":Lee;Ann",
                                 "ADR;LABEL=\"a^nTEL:6\":;;x;;;;",
                                 "AGENT:BEGIN:VCARD\\nEND:VCARD\\nTEL:6",
                                 "AGENT:BEGIN:VCARD\\nEND:VCARD\\nEND:VCARD\\nBEGIN:VCARD\\nTEL:6",
                                 "AGENT:BEGIN:VCARD\\nN:x",
                                 "g.EMAIL:a@x.example\r\ng.X-ABLabel:x\\nTEL:6",
                                 "RELATED;TYPE=child;VALUE=text:x\\nTEL:6",
                                 "ORG:x\\nTEL:6",
                                 "FN:x\\nTEL:6"}) {
    for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) {
      for (const char* version : {"3.0", "4.0"}) {
        const std::string text =
            Written(form, CardOf(version, {"N:Lee;Ann", "FN:Ann Lee", line, "ROLE:last"})).text;
        const stored_contact::Received received = ReceiveFile(text);
        EXPECT_EQ(received.rest.objects, 1U) << text;
        EXPECT_EQ(received.Only().count("home"), 0U) << text;
        EXPECT_EQ(received.Only()["title"], "last") << text;
      }
    }
    const std::string shown = Written(Form::kText, CardOf("4.0", {"FN:x", line})).text;
    EXPECT_EQ(shown.find("\nTEL:6"), std::string::npos) << shown;
  }
}

TEST_F(SentCards, WhatAVersionHasNoNameForHasAnXThere) {
  const auto written = [](Form form, const std::string& version, const std::string& line) {
    return InnerLines(Written(form, CardOf(version, {"N:Lee;Ann", "FN:x", line})).text);
  };
  for (const std::string name :
       {"KIND", "GENDER", "LANG", "MEMBER", "XML", "RELATED", "CLIENTPIDMAP", "CALADRURI"}) {
    const std::string line = name + ":a:b";
    for (const Form form : {Form::kVCard21, Form::kVCard30}) {
      EXPECT_THAT(written(form, "4.0", line), Contains(StartsWith("X-" + name))) << name;
      EXPECT_THAT(written(form, "3.0", "X-" + line), Contains(StartsWith("X-" + name))) << name;
    }
    EXPECT_THAT(written(Form::kVCard40, "4.0", line), Contains(StartsWith(name))) << name;
    EXPECT_THAT(written(Form::kVCard40, "3.0", "X-" + line), Contains(StartsWith(name))) << name;
  }
  for (const std::string name : {"LABEL", "MAILER", "CLASS", "AGENT", "NAME", "PROFILE"}) {
    for (const Form form : {Form::kVCard21, Form::kVCard30}) {
      EXPECT_THAT(written(form, "3.0", name + ":a"), Contains(StartsWith(name))) << name;
      EXPECT_THAT(written(form, "4.0", "X-" + name + ":a"), Contains(StartsWith(name))) << name;
    }
    EXPECT_THAT(written(Form::kVCard40, "3.0", name + ":a"), Contains(StartsWith("X-" + name)))
        << name;
  }
}

TEST_F(SentCards, WhatABinaryValueIsGoesOutInEachVersionsWords) {
  struct Binary {
    std::string old_head;
    std::string media;
  };
  for (const auto& [old_head, media] :
       {Binary{"PHOTO;JPEG", "image/jpeg"}, Binary{"PHOTO;GIF", "image/gif"},
        Binary{"LOGO;TYPE=PNG", "image/png"}, Binary{"SOUND;WAVE", "audio/wav"},
        Binary{"SOUND;TYPE=A-Z.09", "audio/a-z.09"}, Binary{"KEY;X509", "application/pkix-cert"},
        Binary{"KEY;PGP", "application/pgp-keys"}, Binary{"KEY", "application/octet-stream"}}) {
    const std::string name = old_head.substr(0, old_head.find(';'));
    EXPECT_THAT(
        InnerLines(Written(Form::kVCard40,
                           CardOf("2.1", {"N:Lee", "FN:x", old_head + ";ENCODING=BASE64:AAAA", ""}))
                       .text),
        Contains(name + ":data:" + media + ";base64,AAAA"));
    const std::string back =
        Written(Form::kVCard21, CardOf("4.0", {"FN:x", name + ":data:" + media + ";base64,AAAA"}))
            .text;
    EXPECT_NE(back.find(old_head + ";ENCODING=BASE64:\r\n AAAA\r\n\r\n"), std::string::npos)
        << back;
  }
}

TEST_F(SentCards, PeopleAreShownDaysAndAnyCharacters) {
  const std::string card =
      CardOf("3.0", {"N:Lee", "FN:<A> & \"B\"", "BDAY:19991231", "X-ANNIVERSARY:20011231"});
  EXPECT_EQ(Written(Form::kText, card).text,
            "Name: <A> & \"B\"\nBirthday: 1999-12-31\nAnniversary: 2001-12-31\n\n");
  EXPECT_EQ(Written(Form::kHtml, card).text,
            "<dl>\n<dt>Name</dt><dd>&lt;A&gt; &amp; "
            "&quot;B&quot;</dd>\n<dt>Birthday</dt><dd>1999-12-31</dd>\n"
            "<dt>Anniversary</dt><dd>2001-12-31</dd>\n</dl>\n");
}

TEST_F(SentCards, OfSeveralChildrenTheFirstHasWhatWasSaidOfAll) {
  const std::string card = CardOf(
      "3.0",
      {"N:Lee;Ann", "FN:Ann", "a.X-CHILDREN;LANGUAGE=en;TYPE=home,pref:Cy,Di", "a.X-ABLabel:Kids"});
  EXPECT_THAT(InnerLines(Written(Form::kVCard40, card).text),
              ElementsAre("VERSION:4.0", "N:Lee;Ann;;;", "FN:Ann",
                          "a.RELATED;TYPE=\"child,home\";PREF=1;VALUE=text;LANGUAGE=en:Cy",
                          "a.X-ABLabel:Kids", "RELATED;TYPE=child;VALUE=text:Di"));
}

TEST_F(SentCards, TheOfficeGoesOutOnceInEveryVersion) {
  EXPECT_THAT(
      SentAs(Form::kVCard21, "2.1", {"N:Lee;Ann", "X-MICROSOFT-OFFICELOC:B 2"}),
      UnorderedElementsAreArray(Lines{"VERSION:2.1", "N:Lee;Ann;;;", "ADR;WORK:;B 2;;;;;"}));
  // That of another address is not the same.
  const std::string other =
      CardOf("2.1", {"N:Lee;Ann", "ADR;HOME:;B 2;;;;;", "X-MICROSOFT-OFFICELOC:B 2", "TEL;WORK:1",
                     "X-FOO;WORK:x;B 2"});
  EXPECT_THAT(InnerLines(Written(Form::kVCard21, other, Origin::kLibrary).text),
              ElementsAre("VERSION:2.1", "N:Lee;Ann;;;", "ADR;HOME:;B 2;;;;;",
                          "X-MICROSOFT-OFFICELOC:B 2", "TEL;WORK:1", "X-FOO;WORK:x;B 2"));
}

TEST_F(SentCards, AKindIsTheSameHoweverOftenItIsWritten) {
  for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) {
    const std::string once = Written(form, CardOf("2.1", {"N:Lee", "TEL;A^^^^B:1"})).text;
    EXPECT_EQ(Written(form, once).text, once);
  }
}

TEST_F(SentCards, EverythingOfACardComesBackToTheStore) {
  const Lines full = {"N:Lee;Ann;Mary;Dr.;PhD",
                      "FN:Ann Lee",
                      "ORG:Bolt;Sales",
                      "TITLE:boss",
                      "TEL;HOME:1",
                      "TEL;HOME:2",
                      "TEL;WORK:3",
                      "TEL;WORK:4",
                      "TEL;HOME;FAX:5",
                      "TEL;WORK;FAX:6",
                      "TEL;CELL:7",
                      "TEL;PAGER:8",
                      "TEL;CAR:9",
                      "TEL;TYPE=X-ASSISTANT:10",
                      "TEL;TYPE=X-RADIO:11",
                      "EMAIL;INTERNET:a@x.example",
                      "EMAIL;INTERNET:b@x.example",
                      "EMAIL;INTERNET:c@x.example",
                      "ADR;HOME:;;H 1;A;B;1;C",
                      "ADR;WORK:;Room;W 1;D;E;2;F",
                      "ADR:;;O 1;G;H;3;I",
                      "URL:http://a.example/",
                      "NOTE;ENCODING=QUOTED-PRINTABLE:n=0D=0A\\;",
                      "BDAY:19991231",
                      "X-ANNIVERSARY:20011231",
                      "X-SPOUSE:Bo",
                      "X-CHILDREN:Cy, Di",
                      "X-ASSISTANT:Ed",
                      "X-CAT:a,b"};
  const stored_contact::Received first = ReceiveCard("2.1", full);
  ASSERT_EQ(first.contacts.size(), 1U);
  EXPECT_EQ(first.contacts[0].size(), 47U);
  for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) {
    const WrittenObject sent = Written(form, first.texts[0], Origin::kLibrary);
    EXPECT_TRUE(sent.report.dropped.empty());
    const stored_contact::Received second = ReceiveFile(sent.text);
    EXPECT_EQ(second.Only(), first.contacts[0]);
    EXPECT_TRUE(second.report.dropped.empty());
  }
}

TEST_F(SentCards, NothingEmptyAndNoTwinOfTheLibraryGoesOut) {
  for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) {
    const Lines sent =
        SentAs(form, "2.1",
               {"N:Lee;Ann", "FN:Ann Lee", "TEL;RADIO:1", "X-SPOUSE:Bo", "X-CAT:a", "ORG:;Sales"});
    EXPECT_THAT(sent, Each(Not(testing::EndsWith(":"))));
    for (const char* twin : {"X-IRMC-LUID", "DEPT", "SPOUSE", "CHILDREN", "X-MICROSOFT"}) {
      EXPECT_THAT(sent, Each(Not(StartsWith(twin)))) << twin;
    }
    size_t numbers = 0;
    for (const std::string& line : sent) numbers += line.starts_with("TEL") ? 1 : 0;
    EXPECT_EQ(numbers, 1U);
  }
}

TEST_F(SentCards, ACardOfAnotherVersionKeepsWhatItsFormCanHold) {
  const std::string card =
      CardOf("4.0", {"FN:Ann", "NICKNAME:Al,Annie", "GEO:geo:1.5,2.5", "IMPP:xmpp:a@x.example",
                     "REV:20200101T000000Z", "TZ:Europe/Berlin", "UID:urn:uuid:1"});
  const Lines sent = InnerLines(Written(Form::kVCard30, card).text);
  EXPECT_THAT(sent, IsSupersetOf({"NICKNAME:Al,Annie", "GEO:1.5;2.5", "REV:20200101T000000Z",
                                  "UID:urn:uuid:1"}));
}

}  // namespace
}  // namespace card_forms_facts_test
