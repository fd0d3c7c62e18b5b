#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "tools/kelToolProcess.h"

namespace {

using tests::runTool;
using tests::TestFolder;
using tests::ToolResult;
using tests::Words;

ToolResult kelprops(const Words& words, const std::string& input = "") {
    return runTool("kelprops", words, input);
}

TEST(KelpropsCheck, AGoodFileHasNoProblem) {
    const TestFolder folder;
    const std::string file =
        folder.file("good", "# comment\na = %b%/x\nb=\\u00E9\\n\\ \\\\\nc: 50% off\n! end\n");
    const ToolResult result = kelprops({"check", file});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, file + ": 3 keys, no problem\n");
    EXPECT_EQ(result.err, "");
}

struct BadText {
    const char* name;
    const char* text;
    const char* report;  ///< behind the name of the file
};

class KelpropsCheckProblem : public testing::TestWithParam<BadText> {};

TEST_P(KelpropsCheckProblem, IsReportedWithLineAndKey) {
    const ToolResult result = kelprops({"check", "-"}, GetParam().text);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out.rfind(std::string("standard input:") + GetParam().report, 0), 0U)
        << result.out;
    EXPECT_NE(result.out.find(" 1 problem\n"), std::string::npos) << result.out;
    EXPECT_EQ(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, KelpropsCheckProblem,
    testing::Values(
        BadText{"BadReference", "a=1\nb=%c%\n",
                "2: 'b': ERR_PROPERTIES_BAD_REFERENCE: [] - [b] [c]: there is no property 'c'"},
        BadText{"BadReferenceThatOthersNeed", "a=%b%\nb=%c%\n",
                "2: 'b': ERR_PROPERTIES_BAD_REFERENCE: [] - [b] [c]: there is no property 'c'"},
        BadText{"ReferenceOfTwoPercentSigns", "a=5% to 10%\n",
                "1: 'a': ERR_PROPERTIES_BAD_REFERENCE: [] - [a] [ to 10]: there is no property"},
        BadText{"ReferenceThatAnotherValueBringsAlong", "b=x%y\na=%b% and 100%\n",
                "2: 'a': ERR_PROPERTIES_BAD_REFERENCE: [] - [a] [y and 100]: there is no"},
        BadText{
            "ReferenceToItself", "\na=%a%\n",
            "2: 'a': ERR_PROPERTIES_CYCLIC_REFERENCE: [] - [a]: the value needs itself: a -> a"},
        BadText{"CycleOfThree", "z=%b%\na=%b%\nb=%c%\nc=%a%\n",
                "4: 'c': ERR_PROPERTIES_CYCLIC_REFERENCE: [] - [a]: the value needs itself: a -> b "
                "-> c -> a"},
        BadText{"DuplicateKey", "a=1\n\nb=2\na : 3\n",
                "4: 'a': the key is there already, in line 1,"},
        BadText{"EscapeWithoutDigits", "a=1\nb=C:\\\\users\\users\n",
                "2: 'b': '\\users' has not four hexadecimal digits"},
        BadText{"EscapeInAKey", "a\\u12=1\n", "1: 'au12': '\\u12=1' has not four"},
        BadText{"EscapeOfASurrogate", "a=\\uD83D\\\n  x\n", "1: 'a': '\\uD83D' is no character"},
        BadText{"EscapeAtTheEnd", "a=\\u0041", "1: 'a': '\\u0041' ends the file"},
        BadText{"UnknownEscape", "a=1\\\n2\\d\n", "2: 'a': '\\d' is no escape"},
        BadText{"BackslashAtTheEnd", "a=1\\", "1: 'a': the backslash that ends the file is lost"},
        BadText{
            "LeadingBlank", "a=\\ x\n",
            "1: 'a': the value does not survive a store and a load: blanks at its start are lost"},
        BadText{"LeadingBlankOutOfAReference", "e=\na=%e% x\n",
                "2: 'a': the value, references expanded, does not survive a store and a load"},
        BadText{"UnendedComment", "a=1\r\n# end",
                "2: '': the comment ends the file without a line end"},
        BadText{"Utf8", "a=x\xC3\xA9\n",
                "1: 'a': '\xC3\xA9' is written in UTF-8, but the file is read as ISO-8859-1, so it "
                "becomes several characters; write \\u00E9\n"},
        BadText{"Utf8OutOfReach", "a=\xF0\x9F\x98\x80\n",
                "1: 'a': '\xF0\x9F\x98\x80' is written in UTF-8, but the file is read as "
                "ISO-8859-1, so it becomes several characters; the format has no place for"},
        BadText{"ByteOrderMark",
                "\xEF\xBB\xBF"
                "a=1\n",
                "1: '': the file begins with a byte order mark of UTF-8"}),
    [](const auto& test) { return test.param.name; });

TEST(KelpropsCheck, ReportsAllProblemsOfAllFilesInTheOrderOfTheLines) {
    const TestFolder folder;
    const std::string first = folder.file("first", "a=%x%\nb=%y%\nc=%c%\na=\\q\n");
    const std::string second = folder.file("second", "k=v\n");
    const ToolResult result = kelprops({"check", first, second});
    EXPECT_EQ(result.status, 1);
    std::vector<std::string> starts{first + ":2: 'b'",
                                    first + ":3: 'c'",
                                    first + ":4: 'a': '\\q'",
                                    first + ":4: 'a': the key",
                                    first + ": 3 keys, 4 problems",
                                    second + ": 1 key, no problem"};
    std::size_t at = 0;
    for (const std::string& start : starts) {
        EXPECT_EQ(result.out.compare(at, start.size(), start), 0) << result.out;
        at = result.out.find('\n', at) + 1;
    }
    EXPECT_EQ(at, result.out.size());
}

TEST(KelpropsCheck, GoesOnAfterAFileThatCannotBeRead) {
    const TestFolder folder;
    const std::string bad = folder.file("bad", "a=\\q\n");
    const ToolResult result = kelprops({"check", folder.path("none"), bad});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "kelprops: cannot read '" + folder.path("none") + "': No such file or directory\n");
    EXPECT_NE(result.out.find("1 key, 1 problem\n"), std::string::npos);
}

TEST(KelpropsCheck, QuietOnlyTellsByItsStatus) {
    for (const char* const option : {"-q", "--quiet"}) {
        const ToolResult result = kelprops({"check", option, "-"}, "a=\\q\n");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out + result.err, "");
    }
}

TEST(KelpropsCheck, ShowsControlCharactersAsEscapes) {
    const ToolResult result = kelprops({"check", "-"}, "a\x1b[1m=%\x07%\n");
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
    EXPECT_NE(result.out.find("'a\\u001B[1m': ERR_PROPERTIES_BAD_REFERENCE"), std::string::npos)
        << result.out;
}

TEST(KelpropsCheck, ManyBrokenReferencesTakeNoLongTime) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        const std::string number = std::to_string(i);
        text += "a" + number + "=%b" + number + "%\n";
    }
    const ToolResult result = kelprops({"check", "-"}, text);
    EXPECT_NE(result.out.find("5000 keys, 5000 problems\n"), std::string::npos);
}

TEST(KelpropsGet, PrintsTheValue) {
    const std::string text = "host=h\xE9\nurl=http://%host%/\nempty=\n";
    EXPECT_EQ(kelprops({"get", "-", "url"}, text).out, "http://h\xC3\xA9/\n");
    EXPECT_EQ(kelprops({"get", "-", "url", "--raw"}, text).out, "http://%host%/\n");
    EXPECT_EQ(kelprops({"get", "-", "empty", "--default", "d"}, text).out, "\n");
    EXPECT_EQ(kelprops({"get", "-dd", "-", "none"}, text).out, "d\n");
    EXPECT_EQ(kelprops({"get", "-", ""}, "=x\n").out, "x\n");
}

TEST(KelpropsGet, AMissingKeyIsAProblem) {
    const ToolResult result = kelprops({"get", "-", "none"}, "a=1\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "kelprops: ERR_PROPERTY_MISSING: [] - [none]\n"
              "kelprops: there is no such key; 'kelprops list FILE' shows those that are\n");
}

TEST(KelpropsGet, ReadsTypesAsTheLibraryDoes) {
    const std::string text = "yes= on \nnumber=-5\nlarge=4294967295\nhalf=0.5\nword=x\n";
    EXPECT_EQ(kelprops({"get", "-t", "boolean", "-", "yes"}, text).out, "true\n");
    EXPECT_EQ(kelprops({"get", "-t", "int32", "-", "number"}, text).out, "-5\n");
    EXPECT_EQ(kelprops({"get", "-t", "uint32", "-", "large"}, text).out, "4294967295\n");
    EXPECT_EQ(kelprops({"get", "-t", "int64", "-", "large"}, text).out, "4294967295\n");
    EXPECT_EQ(kelprops({"get", "-t", "uint64", "-", "large"}, text).out, "4294967295\n");
    EXPECT_EQ(kelprops({"get", "-t", "double", "-", "half"}, text).out, "0.5\n");
    const ToolResult wrong = kelprops({"get", "-t", "uint32", "-", "number"}, text);
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.err, "kelprops: ERR_PROPERTY_WRONG_TYPE: [] - [number] [-5] [uint32]\n");
}

TEST(KelpropsGet, ReferencesThatLeadNowhereAreAProblem) {
    const ToolResult result = kelprops({"get", "-", "a"}, "a=1\nb=%c%\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.rfind("kelprops: ERR_PROPERTIES_BAD_REFERENCE: [] - [b] [c]\n", 0), 0U);
    EXPECT_EQ(kelprops({"get", "-r", "-", "a"}, "a=1\nb=%c%\n").out, "1\n");
}

TEST(KelpropsList, PrintsKeysAndValuesInOrder) {
    const std::string text = "b=%a%\\nx\na=1\n";
    EXPECT_EQ(kelprops({"list", "-"}, text).out, "a=1\nb=1\\nx\n");
    EXPECT_EQ(kelprops({"list", "--raw", "-"}, text).out, "a=1\nb=%a%\\nx\n");
    EXPECT_EQ(kelprops({"list", "-"}, "a=%b%\n").status, 1);
    EXPECT_EQ(kelprops({"list", "-"}, "").out, "");
}

TEST(KelpropsResolve, WritesAStoredFile) {
    const TestFolder folder;
    const std::string text = "# c\nb=%a% x\na=\\u20AC\n";
    const std::string stored = "#saved by ExtendedProperties on \r\na=\\u20AC\r\nb=\\u20AC x\r\n";
    EXPECT_EQ(kelprops({"resolve", "-"}, text).out, stored);
    EXPECT_EQ(kelprops({"resolve", "-o", folder.path("out"), "-"}, text).status, 0);
    EXPECT_EQ(folder.content("out"), stored);
}

TEST(KelpropsResolve, TellsWhichValueLosesItsBlanks) {
    const ToolResult result = kelprops({"resolve", "-"}, "a=\\  x\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kelprops: 'a' loses the blanks at the start of its value\n");
}

TEST(KelpropsResolve, LeavesTheOutputAloneWhenItFails) {
    const TestFolder folder;
    const std::string out = folder.file("out", "before");
    EXPECT_EQ(kelprops({"resolve", "-o", out, "-"}, "a=%b%\n").status, 1);
    EXPECT_EQ(folder.content("out"), "before");
    EXPECT_EQ(folder.names(), Words{"out"});
}

TEST(KelpropsDiff, ComparesWhatFilesSay) {
    const TestFolder folder;
    const std::string a = folder.file("a", "x=1\ny=2\nz=%x%\n");
    const std::string same = folder.file("same", "# c\r\nz : 1\r\ny\t2\r\nx=\\u0031\r\n");
    const std::string other = folder.file("other", "w=0\nx=1\ny=3\n");
    const ToolResult equal = kelprops({"diff", a, same});
    EXPECT_EQ(equal.status, 0);
    EXPECT_EQ(equal.out, "");
    EXPECT_EQ(kelprops({"diff", "--raw", a, same}).out, "-z=%x%\n+z=1\n");
    const ToolResult different = kelprops({"diff", a, other});
    EXPECT_EQ(different.status, 1);
    EXPECT_EQ(different.out, "+w=0\n-y=2\n+y=3\n-z=1\n");
    EXPECT_EQ(kelprops({"diff", "-q", a, other}).out, "");
    EXPECT_EQ(kelprops({"diff", "-q", a, other}).status, 1);
}

TEST(KelpropsDiff, WhatCannotBeExpandedIsNoDifference) {
    const TestFolder folder;
    const std::string a = folder.file("a", "x=%y%\n");
    const ToolResult result = kelprops({"diff", a, a});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("compare with --raw"), std::string::npos);
    EXPECT_EQ(kelprops({"diff", "-r", a, a}).status, 0);
}

struct Change {
    const char* name;
    const char* before;
    const char* key;
    const char* value;
    const char* after;
};

class KelpropsSet : public testing::TestWithParam<Change> {};

TEST_P(KelpropsSet, ChangesOneLineOnlyAndKeepsTheFileBefore) {
    const Change& change = GetParam();
    const TestFolder folder;
    const std::string file = folder.file("f", change.before);
    const ToolResult result = kelprops({"set", file, change.key, change.value});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(folder.content("f"), change.after);
    EXPECT_EQ(folder.content("f.kvbk"), change.before);
    EXPECT_EQ(folder.names(), (Words{"f", "f.kvbk"}));
    EXPECT_EQ(kelprops({"get", "--raw", file, change.key}).out, std::string(change.value) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Changes, KelpropsSet,
    testing::Values(Change{"TheOnlyPair", "a=1\n", "a", "2", "a=2\n"},
                    Change{"WithCommentsAndOrder", "# c\nb = 1\n\na : 2\n! d\n", "b", "x",
                           "# c\nb = x\n\na : 2\n! d\n"},
                    Change{"AKeyWithoutValue", "a\nb=1\n", "a", "2", "a=2\nb=1\n"},
                    Change{"ANewKey", "a=1\n", "b", "2", "a=1\nb=2\n"},
                    Change{"ANewKeyBehindAnUnendedLine", "a=1", "b", "2", "a=1\nb=2\n"},
                    Change{"ANewKeyInAnEmptyFile", "", "b", "2", "b=2\n"},
                    Change{"ANewKeyWithCrLf", "a=1\r\n", "b", "2", "a=1\r\nb=2\r\n"},
                    Change{"TheLastOfTwo", "a=1\na=2\nb=3\n", "a", "4", "a=1\na=4\nb=3\n"},
                    Change{"AContinuedLine", "a=1\\\n  2\nb=3\n", "a", "4", "a=4\nb=3\n"},
                    Change{"AnUnendedComment", "a=1\n#c", "a", "2", "a=2\n#c\n"},
                    Change{"SpecialCharacters", "a=1\n", "k y", "=#!:\\ \xE2\x82\xAC",
                           "a=1\nk\\ y=\\=\\#\\!\\:\\\\ \\u20AC\n"},
                    Change{"LeadingBlanks", "a=1\n", "a", "  x y", "a=\\ \\ x y\n"},
                    Change{"ANegativeNumber", "a=1\n", "a", "-5", "a=-5\n"},
                    Change{"AnEmptyValue", "a=1\n", "a", "", "a=\n"},
                    Change{"AReference", "a=1\nb=2\n", "b", "%a%", "a=1\nb=%a%\n"}),
    [](const auto& test) { return test.param.name; });

TEST(KelpropsSetFile, RefusesWhatCannotBeKept) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    const ToolResult result = kelprops({"set", file, "a", "\xF0\x9F\x98\x80"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("cannot be kept in a properties file"), std::string::npos);
    EXPECT_EQ(folder.content("f"), "a=1\n");
    EXPECT_EQ(folder.names(), Words{"f"});
}

TEST(KelpropsSetFile, RefusesReferencesThatLeadNowhereUnlessForced) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    const ToolResult result = kelprops({"set", file, "a", "%a%"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.rfind("kelprops: ERR_PROPERTIES_CYCLIC_REFERENCE: [] - [a]\n", 0), 0U);
    EXPECT_EQ(folder.content("f"), "a=1\n");
    EXPECT_EQ(kelprops({"set", "--force", file, "a", "%a%"}).status, 0);
    EXPECT_EQ(folder.content("f"), "a=%a%\n");
    EXPECT_EQ(kelprops({"set", file, "b", "1"}).status, 0) << "it was broken before";
}

TEST(KelpropsSetFile, RefusesAFileWhoseOtherPairsWouldChange) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\\");
    const ToolResult result = kelprops({"set", file, "b", "2"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot be changed without changing more"), std::string::npos);
    EXPECT_EQ(folder.content("f"), "a=1\\");
}

TEST(KelpropsSetFile, MakesAFileOnlyWhenAsked) {
    const TestFolder folder;
    EXPECT_EQ(kelprops({"set", folder.path("f"), "a", "1"}).status, 3);
    EXPECT_EQ(kelprops({"set", "--create", folder.path("f"), "a", "1"}).status, 0);
    EXPECT_EQ(folder.content("f"), "a=1\n");
    EXPECT_EQ(folder.names(), Words{"f"});
}

mode_t permissionsOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

TEST(KelpropsSetFile, KeepsLinksAndPermissions) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    ASSERT_EQ(symlink("f", folder.path("link").c_str()), 0);
    EXPECT_EQ(kelprops({"set", folder.path("link"), "a", "2"}).status, 0);
    struct stat status {};
    ASSERT_EQ(lstat(folder.path("link").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    EXPECT_EQ(permissionsOf(file), 0640U);
    EXPECT_EQ(folder.content("f"), "a=2\n");
}

TEST(KelpropsSetFile, ShowsTheFileBeforeToNobodyWhoMayNotReadTheFile) {
    const TestFolder folder;
    const std::string file = folder.file("f", "password=1\n");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(kelprops({"set", file, "password", "2"}).status, 0);
    EXPECT_EQ(permissionsOf(folder.path("f.kvbk")), 0600U);
    ASSERT_EQ(chmod(folder.path("f.kvbk").c_str(), 0644), 0);
    EXPECT_EQ(kelprops({"set", file, "password", "3"}).status, 0);
    EXPECT_EQ(permissionsOf(folder.path("f.kvbk")), 0600U);
    EXPECT_EQ(folder.content("f.kvbk"), "password=2\n");
}

TEST(KelpropsSetFile, StaysWithTheGroupOfTheFileWhereNewFilesGetThatOfTheFolder) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    constexpr gid_t ANOTHER = 1;
    if (chown(folder.path("").c_str(), static_cast<uid_t>(-1), ANOTHER) != 0) {
        GTEST_SKIP() << "only root can give a folder to any group";
    }
    ASSERT_EQ(chmod(folder.path("").c_str(), 02775), 0);
    EXPECT_EQ(kelprops({"set", file, "a", "2"}).status, 0);
    for (const std::string& path : {file, folder.path("f.kvbk")}) {
        struct stat status {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_gid, getegid());
    }
}

TEST(KelpropsSetFile, SaysWhyAFileCannotBeRead) {
    const TestFolder folder;
    ASSERT_EQ(symlink("a", folder.path("a").c_str()), 0);
    const ToolResult result = kelprops({"set", folder.path("a"), "k", "1"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "kelprops: cannot read '" + folder.path("a") +
                              "': Too many levels of symbolic links\n");
}

TEST(KelpropsSetFile, LosesNoneOfTheChangesMadeAtOnce) {
    const TestFolder folder;
    const std::string file = folder.file("f", "");
    const ToolResult result = tests::runToolInShell(
        R"(for k in a b c d e f g h i j; do "$0" set "$1" $k 1 & done; wait)", "kelprops", {file});
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(kelprops({"list", file}).out, "a=1\nb=1\nc=1\nd=1\ne=1\nf=1\ng=1\nh=1\ni=1\nj=1\n");
}

TEST(KelpropsSetFile, RefusesWhatIsNoRegularFile) {
    const TestFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const std::string& path : {folder.path("pipe"), std::string("/dev/null")}) {
        const ToolResult result = kelprops({"set", path, "a", "1"});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err, "kelprops: cannot change '" + path + "': it is no regular file\n");
    }
    EXPECT_EQ(folder.names(), Words{"pipe"});
}

TEST(KelpropsSetFile, MakesTheFileThatALinkLeadsTo) {
    const TestFolder folder;
    ASSERT_EQ(symlink("target", folder.path("link").c_str()), 0);
    EXPECT_EQ(kelprops({"set", "--create", folder.path("link"), "a", "1"}).status, 0);
    EXPECT_EQ(folder.content("target"), "a=1\n");
    struct stat status {};
    ASSERT_EQ(lstat(folder.path("link").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(KelpropsResolve, WritesToNoLinkThatLeadsRound) {
    const TestFolder folder;
    ASSERT_EQ(symlink("b", folder.path("a").c_str()), 0);
    ASSERT_EQ(symlink("a", folder.path("b").c_str()), 0);
    const ToolResult result = kelprops({"resolve", "-o", folder.path("a"), "-"}, "k=1\n");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "kelprops: cannot write '" + folder.path("a") +
                              "': Too many levels of symbolic links\n");
}

TEST(KelpropsSetFile, AnEqualValueChangesNothing) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    EXPECT_EQ(kelprops({"set", file, "a", "1"}).status, 0);
    EXPECT_EQ(folder.names(), Words{"f"});
}

TEST(KelpropsSetFile, AFolderThatCannotBeWrittenLeavesTheFileAsItIs) {
    const TestFolder folder;
    const std::string file = folder.file("f", "a=1\n");
    const ToolResult result = kelprops({"set", "/proc/version", "a", "1"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot write a file beside '/proc/version.kvbk'"), std::string::npos)
        << result.err;
}

TEST(KelpropsDefine, GivesReferencesWhatTheProgramWouldSet) {
    const std::string text = "a=%home%/%name%\nname=n\n";
    const Words definitions{"-Dhome=/h=1", "--define", "name=other"};
    const auto run = [&](Words words) {
        words.insert(words.end(), definitions.begin(), definitions.end());
        return kelprops(words, text);
    };
    EXPECT_EQ(run({"check", "-"}).out, "standard input: 2 keys, no problem\n");
    EXPECT_EQ(run({"get", "-", "a"}).out, "/h=1/n\n");
    EXPECT_EQ(run({"get", "-", "home"}).status, 1);
    EXPECT_EQ(run({"list", "-"}).out, "a=/h=1/n\nname=n\n");
    EXPECT_EQ(run({"list", "--raw", "-"}).out, "a=%home%/%name%\nname=n\n");
    EXPECT_EQ(run({"resolve", "-"}).status, 0);
    EXPECT_EQ(run({"graph", "-"}).out, "a -> home\na -> name\n");
    EXPECT_EQ(run({"graph", "-"}).status, 0);
    EXPECT_EQ(kelprops({"check", "-D", "home", "-"}, text).status, 2);
}

TEST(KelpropsGraph, ShowsReferences) {
    const std::string text = "a=%b%%c%%b%\nb=%c%\nc=1\n";
    const ToolResult result = kelprops({"graph", "-"}, text);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "a -> b\na -> c\nb -> c\n");
    EXPECT_EQ(kelprops({"graph", "--format=dot", "-"}, text).out,
              "digraph properties {\n    rankdir=LR;\n    node [shape=box];\n    \"a\" -> \"b\";\n"
              "    \"a\" -> \"c\";\n    \"b\" -> \"c\";\n}\n");
}

TEST(KelpropsGraph, MarksWhatLeadsNowhereAndWhatGoesRound) {
    const std::string text = "a=%b%\nb=%a%\nc\\\"=%none%\nd=%p% x%\np=1%\n";
    const ToolResult result = kelprops({"graph", "-"}, text);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out,
              "a -> b\nb -> a (cycle)\nc\" -> none (missing)\nd -> p\nd ->  x (missing)\n");
    EXPECT_NE(kelprops({"graph", "-fdot", "-"}, text)
                  .out.find("    \"c\\\"\" -> \"none\" [color=red, label=\"missing\"];\n"),
              std::string::npos);
}

}  // namespace
