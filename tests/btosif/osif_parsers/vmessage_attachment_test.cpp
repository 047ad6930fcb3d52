// Named parts of a message: their content goes into temporary files that live as long as the record.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "btosif/osif_parsers/vmessage_content.h"
#include "btosif/osif_util/object_record.h"
#include "tests/support/full_disk.h"
#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace vmessage_attachment_test {
namespace {

using support::BodyText;
using support::EnvelopeText;
using support::Lines;
using support::MessageText;
using support::MessageWith;
using support::MultipartMessage;
using support::ReadMessage;
using support::ReadMessageOutcome;
using support::ReadMessages;
using support::Repeated;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

class VMessageAttachment : public support::MessageTest {
 protected:
  // A message whose only part is named so.
  static std::string Named(const std::string& name, std::string_view content = "one\r\ntwo\r\n") {
    return MessageWith("Content-Type:image/gif; name=" + name + "\r\n", content);
  }

  // How many temporary files there are while a record is lent.
  struct FileCount {
    const VMessageAttachment* test;
    size_t files = 99;

    void Take() { files = test->TempFileCount(); }
  };

  void ExpectInTempFolder(const fs::path& path) const {
    EXPECT_EQ(path.parent_path(), temp_folder()) << path;
  }
};

TEST_F(VMessageAttachment, ANamedPartIsWrittenToATemporaryFileOfThatNameAndHasNoText) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(Named("\"a picture.gif\""));
  EXPECT_EQ(outcome.result, kOk);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.attachment, temp_folder() / "a picture.gif");
  EXPECT_EQ(message.attachment_bytes, "one\r\ntwo\r\n");
  EXPECT_EQ(message.body, std::nullopt);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageAttachment, IsNoPartThatHasANameOnlyInAnotherParameter) {
  for (const char* type : {"text/plain; filename=a.txt", "text/plain; x-filename=\"a.txt\""}) {
    const ReadMessage message =
        ReadMessages(MessageWith("Content-Type:" + std::string(type) + "\r\n", "one\r\n")).Only();
    EXPECT_EQ(message.body, "one\n") << type;
    EXPECT_EQ(message.attachment, "") << type;
  }
}

// The last byte of the letter is that of a backslash.
TEST_F(VMessageAttachment, ItsFileHasItsNameInTheSystemsCodePage) {
  support::SetSystemCodePage(932);
  ForgetCharsetChoices();
  EXPECT_EQ(ReadMessages(Named("\x95\x5C.txt")).Only().attachment.filename(), "\u8868.txt");
}

TEST_F(VMessageAttachment, ItsFileIsGoneWhenTheRecordIsReleased) {
  EXPECT_EQ(ReadMessages(Named("a.gif")).Only().attachment_bytes, "one\r\ntwo\r\n");
  EXPECT_EQ(TempFileCount(), 0u);
}

TEST_F(VMessageAttachment, ItsFileStaysWhileTheRecordIsKept) {
  auto keep = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    std::memcpy(context, object, sizeof *object);
    std::memset(object, 0, sizeof *object);
    return 0;
  };
  OsifObject kept{};
  OsifStream stream = support::OpenBytes(Named("a.gif"));
  EXPECT_EQ(VMessage_ReadFile(stream, keep, &kept), kOk);
  EXPECT_EQ(TempFileCount(), 1u);
  FreeObject(OSIF_STORE_MSG_IN, kept);
  EXPECT_EQ(TempFileCount(), 0u);
  EXPECT_EQ(kept.message.part.attachmentFile[0], 0);
}

TEST_F(VMessageAttachment, ItsFileIsGoneWithoutACallbackToo) {
  OsifStream stream = support::OpenBytes(Named("a.gif"));
  EXPECT_EQ(VMessage_ReadFile(stream, nullptr, nullptr), kOk);
  EXPECT_EQ(TempFileCount(), 0u);
}

TEST_F(VMessageAttachment, ItsLinesAreNeitherDecodedNorJoined) {
  const ReadMessageOutcome outcome =
      ReadMessages(Named("a", "a=3D=\r\n b\n\r\nQQ==\r\nc\rlost\r\n"));
  EXPECT_EQ(outcome.Only().attachment_bytes, "a=3D=\r\n b\r\n\r\nQQ==\r\nc\r\n");
}

TEST_F(VMessageAttachment, ItsFileMayBeEmpty) {
  const ReadMessageOutcome outcome = ReadMessages(Named("a.gif", ""));
  EXPECT_EQ(outcome.result, kOk);
  ExpectInTempFolder(outcome.Only().attachment);
  EXPECT_EQ(outcome.Only().attachment_bytes, "");
}

TEST_F(VMessageAttachment, ANamedFirstPartOfSeveralIsWrittenToAFile) {
  const ReadMessageOutcome outcome = ReadMessages(
      MultipartMessage(Lines({"--b", "Content-Type:image/gif;", " name=\"a.gif\"", "", "one", "--b",
                              "Content-Type:text/plain", "", "text", "--b--"})));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().attachment, temp_folder() / "a.gif");
  EXPECT_EQ(outcome.Only().attachment_bytes, "one\r\n");
  EXPECT_EQ(outcome.Only().body, std::nullopt);
  ASSERT_THAT(outcome.Only().further_parts, SizeIs(1));
  EXPECT_EQ(outcome.Only().further_parts[0].content_type, "text/plain");
}

TEST_F(VMessageAttachment, ANamedLaterPartIsDroppedWithoutAFile) {
  auto take = [](int32_t, OsifObject*, OsifResult, void* context) -> int32_t {
    static_cast<FileCount*>(context)->Take();
    return 0;
  };
  FileCount count{this};
  OsifStream stream = support::OpenBytes(MultipartMessage(
      Lines({"--b", "", "text", "--b", "Content-Type:image/gif; name=a.gif", "", "x", "--b--"})));
  EXPECT_EQ(VMessage_ReadFile(stream, take, &count), kOk);
  EXPECT_EQ(count.files, 0u);
}

TEST_F(VMessageAttachment, ANameThatIsAPathNamesAFileInTheTemporaryFolderOnly) {
  for (const std::string name : {"../../x", "/x", "\"..\\..\\x\"", "\"C:\\x\"", "\"a/../../x\"",
                                 "../../../../../../tmp/x"}) {
    const ReadMessageOutcome outcome = ReadMessages(Named(name));
    EXPECT_EQ(outcome.result, kOk) << name;
    ExpectInTempFolder(outcome.Only().attachment);
    EXPECT_EQ(outcome.Only().attachment.filename(), "x") << name;
    EXPECT_EQ(outcome.Only().attachment_bytes, "one\r\ntwo\r\n") << name;
  }
  EXPECT_FALSE(fs::exists(device_folder() / "x"));
  EXPECT_FALSE(fs::exists(device_folder().parent_path() / "x"));
  EXPECT_EQ(TempFileCount(), 0u);
}

TEST_F(VMessageAttachment, ANameThatNamesNoFileGetsAUniqueOne) {
  for (const std::string name : {"..", ".", "\"\"", "\"a/\"", "../..", "\"..\\\""}) {
    const ReadMessageOutcome outcome = ReadMessages(Named(name));
    EXPECT_EQ(outcome.result, kOk) << name;
    ExpectInTempFolder(outcome.Only().attachment);
    EXPECT_THAT(outcome.Only().attachment.filename().string(), StartsWith("zul")) << name;
    EXPECT_EQ(outcome.Only().attachment_bytes, "one\r\ntwo\r\n") << name;
  }
  EXPECT_EQ(TempFileCount(), 0u);
}

TEST_F(VMessageAttachment, AFileThatHasTheNameAlreadyIsLeftAlone) {
  fs::create_directories(temp_folder());
  std::ofstream(temp_folder() / "a.gif") << "mine";
  const ReadMessageOutcome outcome = ReadMessages(Named("a.gif"));
  EXPECT_EQ(outcome.result, kOk);
  ExpectInTempFolder(outcome.Only().attachment);
  EXPECT_THAT(outcome.Only().attachment.filename().string(), StartsWith("zul"));
  EXPECT_EQ(outcome.Only().attachment_bytes, "one\r\ntwo\r\n");
  EXPECT_EQ(support::BytesOf(temp_folder() / "a.gif"), "mine");
  EXPECT_EQ(TempFileCount(), 1u);
}

TEST_F(VMessageAttachment, ANameThatCannotBeOpenedForWritingRefusesTheMessage) {
  fs::create_directories(temp_folder() / "folder");
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(Named("folder") + Named("a.gif"));
  EXPECT_EQ(outcome.result, OsifResult{OSIF_ERR_FILE_OPEN});
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(),
              ElementsAre(MatchesRegex("OSIF:  Unable to open file '.*folder' in mode 'w'")));
  EXPECT_TRUE(fs::is_directory(temp_folder() / "folder"));
}

TEST_F(VMessageAttachment, AttachmentsOfTheSameNameDoNotMeet) {
  const ReadMessageOutcome outcome =
      ReadMessages(Named("a.gif", "1\r\n") + Named("a.gif", "2\r\n"));
  ASSERT_THAT(outcome.messages, SizeIs(2));
  EXPECT_EQ(outcome.messages[0].attachment_bytes, "1\r\n");
  EXPECT_EQ(outcome.messages[1].attachment_bytes, "2\r\n");
}

TEST_F(VMessageAttachment, ItsNameIsInTheSystemsCodePage) {
  const ReadMessageOutcome outcome = ReadMessages(Named("\xE4.gif"));
  EXPECT_EQ(outcome.Only().attachment.filename(), "\u00E4.gif");
}

TEST_F(VMessageAttachment, ItsFileIsGoneAfterAnErrorAnywhereBehindIt) {
  const std::string envelope =
      EnvelopeText(BodyText("Content-Type:image/gif; name=a.gif\r\n", "one\r\n"));
  const std::string begin = "BEGIN:VMSG\r\n";
  const std::string part =
      "BEGIN:VENV\r\nBEGIN:VBODY\r\nContent-Type:multipart/mixed; "
      "boundary=b\r\n\r\n--b\r\nContent-Type:image/gif; name=a.gif\r\n\r\n"
      "one\r\n";
  for (const std::string& text :
       {begin + envelope, begin + envelope + "VERSION:9\r\nEND:VMSG\r\n",
        begin + envelope + "BEGIN:VNOTE\r\n", begin + envelope + "BEGIN:VENV\r\nEND:VENV\r\n",
        begin + envelope.substr(0, envelope.size() - 10),
        begin + envelope.substr(0, envelope.size() - 21), begin + part, begin + part + "--b\r\n",
        begin + part + "--b\r\n\r\nx\r\n", begin + part + "--b--\r\n"}) {
    const ReadMessageOutcome outcome = ReadMessages(text);
    EXPECT_EQ(outcome.result, kError) << text;
    EXPECT_THAT(outcome.messages, IsEmpty()) << text;
    EXPECT_EQ(TempFileCount(), 0u) << text;
  }
}

TEST_F(VMessageAttachment, ASecondEnvelopeRemovesTheFileOfTheFirst) {
  auto take = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    static_cast<FileCount*>(context)->Take();
    EXPECT_STREQ(object->message.part.bodyText, "text\n");
    EXPECT_EQ(object->message.part.attachmentFile[0], 0);
    return 0;
  };
  FileCount count{this};
  OsifStream stream = support::OpenBytes(
      MessageText(EnvelopeText(BodyText("Content-Type:image/gif; name=a.gif\r\n", "one\r\n")) +
                  EnvelopeText(BodyText("Content-Type:text/plain\r\n", "text\r\n"))));
  EXPECT_EQ(VMessage_ReadFile(stream, take, &count), kOk);
  EXPECT_EQ(count.files, 0u);
}

TEST_F(VMessageAttachment, WithoutAFolderForTemporaryFilesTheMessageIsRefused) {
  fs::remove_all(temp_folder());
  std::ofstream(temp_folder()) << "in the way";
  for (const std::string name : {"a.gif", ".."}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(Named(name) + Named(name));
    EXPECT_EQ(outcome.result, OsifResult{OSIF_ERR_GENERAL}) << name;
    EXPECT_THAT(outcome.messages, IsEmpty()) << name;
    EXPECT_THAT(trace.Lines(),
                ElementsAre(MatchesRegex("OSIF: FILE_TempFilename; PATH error \\([0-9]+\\)")));
  }
}

TEST_F(VMessageAttachment, AFolderForTemporaryFilesThatIsMissingIsMade) {
  fs::remove_all(temp_folder());
  EXPECT_EQ(ReadMessages(Named("a.gif")).Only().attachment_bytes, "one\r\ntwo\r\n");
}

TEST_F(VMessageAttachment, APathOfMoreThan255CharactersIsOneThatCouldNotBeMade) {
  // The folder's path has 250 characters with the "/" at its end; five or six more name the file.
  const std::string parent = device_folder().string();
  const std::string folder = parent + "/" + std::string(250 - parent.size() - 7, 'd');
  const TempEnvironment environment("OSIF_DEVICE", folder.c_str());
  const ReadMessageOutcome fits = ReadMessages(Named("12345"));
  EXPECT_EQ(fits.result, kOk);
  EXPECT_EQ(fits.Only().attachment.string().size(), 255u);
  EXPECT_EQ(fits.Only().attachment_bytes, "one\r\ntwo\r\n");

  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(Named("123456"));
  EXPECT_THAT(trace.Lines(),
              Contains(MatchesRegex("OSIF: FILE_TempFilename; PATH error \\([0-9]+\\)")));
  EXPECT_EQ(outcome.result, OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_TRUE(fs::is_empty(folder + "/Temp"));

  // The file of a unique name is made together with the name.
  EXPECT_EQ(ReadMessages(Named("..")).result, OsifResult{OSIF_ERR_GENERAL});
  EXPECT_TRUE(fs::is_empty(folder + "/Temp"));
}

TEST_F(VMessageAttachment, WithAFullFolderForTemporaryFilesTheMessageIsRefusedAndNoFileIsLeft) {
  for (const size_t lines : {size_t{1}, size_t{100'000}}) {
    OsifStream stream =
        support::OpenBytes(Named("a.gif", Repeated("line\r\n", lines)) + Named("b.gif"));
    ReadMessageOutcome outcome;
    {
      const support::FullDisk full(0);
      outcome.result = VMessage_ReadFile(stream, support::KeepMessage, &outcome);
    }
    EXPECT_EQ(outcome.result, OsifResult{OSIF_ERR_FILE_OPEN}) << lines;
    EXPECT_THAT(outcome.messages, IsEmpty()) << lines;
    EXPECT_EQ(TempFileCount(), 0u) << lines;
  }
}

TEST_F(VMessageAttachment, AttachmentsOfAMegabyteAreWrittenWhole) {
  const std::string content = Repeated("0123456789\r\n", 100'000);
  EXPECT_EQ(ReadMessages(Named("a.gif", content)).Only().attachment_bytes, content);
}

}  // namespace
}  // namespace vmessage_attachment_test
