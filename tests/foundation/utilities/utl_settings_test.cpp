// Utl_File_String_Map and Utl_Settings: the format of settings files read and written,
// bad input, the settings kept in memory and their freshness, and saves that a kill at
// any moment cannot leave half-written.
#include "foundation/utilities/utl_settings.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_switches.h"
#include "foundation/utilities/utl_file_reader.h"
#include "foundation/utilities/utl_file_string_map.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;

namespace {

std::string Text_Of(const Fnd_Condition& Condition) {
    return Narrow(Condition.Image(Fnd_Detail_Normal, 0, 0, 1, 0, Fnd_String(u"|")));
}

std::string Contents(const std::string& Path) {
    std::ifstream file(Path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// The map as "name=value;" sorted by name, with newlines shown as "\n".
std::string Fields_Of(const Utl_File_String_Map& Map) {
    std::string fields;
    std::vector<std::pair<std::string, std::string>> pairs;
    for (utl_string_map_data* node = Map.first(); node != nullptr; Map.next(node)) {
        Fnd_String domain, range;
        Utl_String_Map::get_data(node, domain, range);
        std::string value = Narrow(range);
        for (std::size_t at; (at = value.find('\n')) != std::string::npos;) value.replace(at, 1, "\\n");
        pairs.emplace_back(Narrow(domain), value);
    }
    std::sort(pairs.begin(), pairs.end());
    for (const auto& [name, value] : pairs) fields += name + "=" + value + ";";
    return fields;
}

class Settings_Files : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Use_Catalogs(Shipped_Catalogs());
        Utl_Settings::Forget_All();
    }
    std::string Write(const std::string& Name, const std::string& Bytes) const {
        std::ofstream(Dir + "/" + Name, std::ios::binary) << Bytes;
        return Dir + "/" + Name;
    }
    // Reads a file of Bytes; Log gets what went to the log.
    std::string Read(const std::string& Bytes, std::string* Failure = nullptr,
                     std::string* Log = nullptr) {
        const std::string path = Write("read.cfg", Bytes);
        ZTInt_Captured_Fd out(1);
        ZTInt_Captured_Fd err(2);
        Utl_File_String_Map map;
        Fnd_Condition condition;
        map.Read(condition, Wide(path));
        if (Failure) *Failure = Text_Of(condition);
        if (Log) *Log = out.Bytes() + err.Bytes();
        return Fields_Of(map);
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

TEST_F(Settings_Files, FieldsAreReadFromEachForm) {
    struct Row { const char* bytes; const char* fields; };
    const Row rows[] = {
        {"user: jane\n", "user=jane;"},
        {"user:jane\n", "user=jane;"},
        {"  user   :   two words  \n", "user=two words;"},
        {"user: a:b:c\n", "user=a:b:c;"},
        {"user:\n", "user=;"},
        {"# user: no\n  # x: y\nkey: v\n", "key=v;"},
        {"a: 1\na: 2\n", "a=2;"},
        {"b: 2\r\na: 1\r\n", "a=1;b=2;"},
        {"{text: ignored\nline 1\n  # kept\ntext}\nafter: x\n", "after=x;text=line 1\\n  # kept;"},
        {"{text:\nend\n\ntext}\n", "text=end\\n;"},
        {"{text:\ntext}}\ntext}x}}\ntext}\n", "text=text}\\ntext}x};"},
        {"{text:\ntext}\n", "text=;"},
        {"", ""},
    };
    for (const Row& row : rows) {
        std::string failure;
        EXPECT_EQ(Read(row.bytes, &failure), row.fields) << row.bytes;
        EXPECT_EQ(failure, "") << row.bytes;
    }
}

TEST_F(Settings_Files, BadLinesGoToTheLogAndUnclosedFieldsFail) {
    std::string failure, log;
    EXPECT_EQ(Read("a: 1\nno colon here\nb: 2\n", &failure, &log), "a=1;b=2;");
    EXPECT_EQ(failure, "");
    EXPECT_NE(log.find("read.cfg, line 2: no field name before no"), std::string::npos) << log;

    EXPECT_EQ(Read("a: 1\n{long:\nfirst\nsecond\n", &failure, &log), "a=1;long=first\\nsecond;");
    EXPECT_EQ(failure, "the multi-line field long of " + Dir + "/read.cfg, line 2, is not closed");

    EXPECT_EQ(Read("{: x\n:\n", &failure, &log), "");
    EXPECT_EQ(failure, "");
    EXPECT_NE(log.find("line 2: no field name before :"), std::string::npos) << log;
}

// Read with includes on, a cycle or a chain too deep ends in the reader's error.
TEST_F(Settings_Files, IncludesEndAtACycleAndAtTheDepthLimit) {
    const std::string self = Dir + "/self.cfg";
    Write("self.cfg", "a: 1\n#include " + self + "\nb: 2\n");
    for (int i = 0; i < 40; ++i)
        Write("chain" + std::to_string(i) + ".cfg",
              "f" + std::to_string(i) + ": x\n#include " + Dir + "/chain" + std::to_string(i + 1) + ".cfg\n");
    struct Row { std::string file; const char* log; long fields; };
    const Row rows[] = {
        {self, "Recursive include of", 2},
        {Dir + "/chain0.cfg", "Include nesting too deep", Utl_File_Reader::Max_Include_Depth},
    };
    for (const Row& row : rows) {
        Utl_File_String_Map map;
        Fnd_Condition condition;
        std::string log;
        {
            ZTInt_Captured_Fd out(1);
            map.Read(condition, Utl_Read_Include | Utl_Read_Comments, Wide(row.file));
            log = out.Bytes();
        }
        EXPECT_FALSE(condition.Failed()) << Text_Of(condition);
        EXPECT_NE(log.find(row.log), std::string::npos) << log;
        EXPECT_EQ(map.Get_Count(), row.fields) << row.file;
    }
}

TEST_F(Settings_Files, BadFilesFailClearlyOrReadAsText) {
    std::string failure;
    Utl_File_String_Map map;
    Fnd_Condition condition;
    map.Read(condition, Wide(Dir + "/missing"));
    EXPECT_EQ(Text_Of(condition), "the settings file " + Dir + "/missing does not exist");
    map.Read(condition, Wide(Dir));
    EXPECT_EQ(Text_Of(condition), "the settings file " + Dir + " is not a regular file");

    Write(".hidden", "a: 1\n");
    map.Bind(u"x", Fnd_String(u"y"));
    map.Read(condition, Wide(Dir + "/.hidden"));
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(map.Get_Count(), 0);

    // Over the limit: refused before anything is read.
    const std::string big = Dir + "/big";
    std::filesystem::resize_file(Write("big", ""), Utl_File_String_Map::Max_File_Size + 1);
    map.Read(condition, Wide(big));
    EXPECT_NE(Text_Of(condition).find("is too large: 16777217 bytes"), std::string::npos)
        << Text_Of(condition);

    // Binary bytes and broken UTF-8 are text like any other: no crash, a result.
    std::string binary;
    for (int i = 0; i < 4096; ++i) binary += static_cast<char>((i * 131) % 256);
    Read(binary, &failure);
    Read(std::string("k: \xFF\xC3(\0v\n", 9) + "{x:\n\xF0\x9F", &failure);
    EXPECT_NE(failure.find("multi-line field x"), std::string::npos);
}

TEST_F(Settings_Files, SaveWritesSortedFieldsAndReadsThemBackEqual) {
    const std::string path = Dir + "/saved.cfg";
    Utl_File_String_Map map(17, Utl_Case_Unchanged, true);
    map.Bind(u"b", Fnd_String(u"2"));
    map.Bind(u"a", Fnd_String(u"1"));
    map.Bind(u"empty", Fnd_String());
    map.Bind(u"two", Fnd_String(u"line 1\n  line 2"));
    map.Bind(u"ends", Fnd_String(u"x\n"));
    map.Bind(u"tricky", Fnd_String(u"tricky}\ntricky}}\ntricky}x"));
    map.Bind(u"utf", Fnd_String(u"\u00FC\U0001F600"));
    map.Set_Default_File(Wide(path));
    Fnd_Condition condition;
    map.Save(condition, Fnd_String::Null);
    ASSERT_FALSE(condition.Failed()) << Text_Of(condition);
    EXPECT_EQ(Contents(path),
              "a: 1\nb: 2\n{ends:\nx\nends}\n{tricky:\ntricky}}\ntricky}}}\ntricky}x\ntricky}\n"
              "{two:\nline 1\n  line 2\ntwo}\nutf: \xC3\xBC\xF0\x9F\x98\x80\n");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    Utl_File_String_Map back(17, Utl_Case_Unchanged, true);
    back.Read(condition, Wide(path));
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(back.Get_Count(), 6);
    for (const char16_t* name : {u"a", u"b", u"two", u"tricky", u"utf"}) {
        Fnd_String before, after;
        map.Get_Range(name, before);
        back.Get_Range(name, after);
        EXPECT_EQ(after, before) << Narrow(Fnd_String(name));
    }
    Fnd_String ends;
    back.Get_Range(u"ends", ends);
    EXPECT_EQ(ends, Fnd_String(u"x"));

    // A name that would not read back is refused, and the file stays.
    map.Bind(u"two words", Fnd_String(u"x"));
    map.Save(condition, Fnd_String::Null);
    EXPECT_EQ(Text_Of(condition), "the settings file " + path + " cannot be opened for writing|"
                                  "the field name \"two words\" cannot be written to a settings file");
    EXPECT_EQ(back.Get_Count(), 6);
}

// A zero character inside a value doesn't hide the newlines behind it.
TEST_F(Settings_Files, AValueWithAZeroCharacterKeepsItsLines) {
    const std::string path = Dir + "/zero.cfg";
    const char16_t units[] = {u'a', 0, u'b', u'\n', u'c'};
    Utl_File_String_Map map;
    map.Bind(u"k", Fnd_String(units, 5));
    Fnd_Condition condition;
    map.Save(condition, Wide(path));
    ASSERT_FALSE(condition.Failed()) << Text_Of(condition);
    EXPECT_EQ(Contents(path), std::string("{k:\na\0b\nc\nk}\n", 13));
    Utl_File_String_Map back;
    back.Read(condition, Wide(path));
    Fnd_String value;
    ASSERT_TRUE(back.Get_Range(u"k", value));
    EXPECT_EQ(value, Fnd_String(units, 5));
}

TEST_F(Settings_Files, SaveOnlySelectedFieldsKeepsTheFilesValuesOfThem) {
    const std::string path = Write("sel.cfg", "keep: from file\nother: old\n");
    Utl_String_Map values(Utl_Range_String);
    values.Bind(u"keep", Fnd_String(u"from map"));
    values.Bind(u"other", Fnd_String(u"new"));
    Utl_String_Map fields(Utl_Range_Long);
    fields.Bind(u"keep", 1L);
    Utl_File_String_Map map;
    Fnd_Condition condition;
    map.Save_Only_Selected_Fields(condition, values, Wide(path), fields);
    EXPECT_FALSE(condition.Failed()) << Text_Of(condition);
    EXPECT_EQ(Contents(path), "keep: from file\nother: new\n");

    // A field of the file that is neither selected nor in the map: nothing written.
    Write("sel.cfg", "stranger: x\n");
    {
        ZTInt_Captured_Fd out(1);
        map.Save_Only_Selected_Fields(condition, values, Wide(path), fields);
    }
    EXPECT_EQ(Text_Of(condition), "the field stranger of " + path + " is neither selected nor known");
    EXPECT_EQ(Contents(path), "stranger: x\n");
}

TEST_F(Settings_Files, PathnamesAreBuiltBelowTheRegistry) {
    setenv("ZT_MORVANE_DIR", "/home/jane/.Morvane", 1);
    Hst_Switches::Clear_Cache();
    struct Row { Utl_Settings_Location where; const char* path; };
    const Row rows[] = {
        {{u"Zentrak", u"7.1", u"Login-x", u"ZTIntSvr", u"", false},
         "/home/jane/.Morvane/.Registry/Zentrak/7.1/ZTIntSvr/Login-x"},
        {{u"P", u"", u"f", u"", u"ignored", false}, "/home/jane/.Morvane/.Registry/P/f"},
        {{u"/etc/P", u"1", u"f", u"s", u"t", true}, "/etc/P/1/s/t/f"},
    };
    for (const Row& row : rows) {
        Fnd_String path;
        Utl_Settings::Get_Pathname(path, row.where);
        EXPECT_EQ(Narrow(path), row.path);
    }
    unsetenv("ZT_MORVANE_DIR");
    Hst_Switches::Clear_Cache();
}

TEST_F(Settings_Files, SettingsAreAddedReadAndRemovedOnDisk) {
    const Fnd_String file = Wide(Dir + "/new/deeper/Login-x");
    const Fnd_String* value = nullptr;
    Fnd_Condition condition;
    EXPECT_FALSE(Utl_Settings::Get_Setting(condition, file, u"user", value));
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(value, nullptr);

    ASSERT_TRUE(Utl_Settings::Add_Setting(condition, file, u"user", u"jane")) << Text_Of(condition);
    ASSERT_TRUE(Utl_Settings::Add_Setting(condition, file, u"database", u"DEMO"));
    EXPECT_EQ(Contents(Narrow(file)), "database: DEMO\nuser: jane\n");
    ASSERT_TRUE(Utl_Settings::Get_Setting(condition, file, u"user", value));
    EXPECT_EQ(*value, Fnd_String(u"jane"));

    ASSERT_TRUE(Utl_Settings::Remove_Setting(condition, file, u"user"));
    EXPECT_TRUE(Utl_Settings::Remove_Setting(condition, file, u"never there"));
    EXPECT_EQ(Contents(Narrow(file)), "database: DEMO\n");
    EXPECT_FALSE(Utl_Settings::Get_Setting(condition, file, u"user", value));

    EXPECT_FALSE(Utl_Settings::Add_Setting(condition, file, u"a:b", u"x"));
    EXPECT_EQ(Text_Of(condition), "the field name \"a:b\" cannot be written to a settings file");

    // Deleted by someone else: no fields, and no failure.
    std::filesystem::remove(Narrow(file));
    EXPECT_FALSE(Utl_Settings::Get_Setting(condition, file, u"database", value));
    EXPECT_FALSE(condition.Failed());
    EXPECT_TRUE(Utl_Settings::Remove_Setting(condition, file, u"database"));
    EXPECT_FALSE(std::filesystem::exists(Narrow(file))) << "a removal doesn't bring the file back";
}

TEST_F(Settings_Files, ChangesOnDiskAreSeenAndRefreshForcesARead) {
    const std::string path = Write("fresh.cfg", "v: one\n");
    const Fnd_String file = Wide(path);
    const Fnd_String* value = nullptr;
    Fnd_Condition condition;
    ASSERT_TRUE(Utl_Settings::Get_Setting(condition, file, u"v", value));
    EXPECT_EQ(*value, Fnd_String(u"one"));

    // Another process's save, within the same second: a new file under the name.
    const std::string other = Write("other.tmp", "v: two\n");
    std::filesystem::rename(other, path);
    ASSERT_TRUE(Utl_Settings::Get_Setting(condition, file, u"v", value));
    EXPECT_EQ(*value, Fnd_String(u"two"));

    // A change in place that keeps size and time is seen only after Refresh.
    struct stat before {};
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    { std::fstream(path, std::ios::in | std::ios::out | std::ios::binary) << "v: six"; }
    const struct timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_TRUE(Utl_Settings::Get_Setting(condition, file, u"v", value));
    EXPECT_EQ(*value, Fnd_String(u"two"));
    Utl_Settings::Refresh(file);
    ASSERT_TRUE(Utl_Settings::Get_Setting(condition, file, u"v", value));
    EXPECT_EQ(*value, Fnd_String(u"six"));
}

TEST_F(Settings_Files, NothingIsSavedIntoAnotherUsersDirectory) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give a directory away";
    const std::string dir = Dir + "/theirs";
    std::filesystem::create_directory(dir);
    ASSERT_EQ(chown(dir.c_str(), 65534, 65534), 0);
    Fnd_Condition condition;
    EXPECT_FALSE(Utl_Settings::Add_Setting(condition, Wide(dir + "/f"), u"user", u"jane"));
    EXPECT_EQ(Text_Of(condition), "the settings directory " + dir +
                                      " is owned by user id 65534, not by this user (0): "
                                      "the settings file is not saved there");
    EXPECT_FALSE(std::filesystem::exists(dir + "/f"));
}

// A child saves one of two maps over and over and says when each save starts; it is
// killed at a random moment inside a save of one kind or the other. What is left must be
// one of the two texts, whole, every time.
TEST_F(Settings_Files, AKilledSaveLeavesTheOldOrTheNewFileWhole) {
    const std::string path = Dir + "/crash.cfg";
    Utl_File_String_Map small, large;
    small.Bind(u"user", Fnd_String(u"small"));
    std::u16string lines;
    for (int i = 0; i < 4000; ++i) lines += u"line of a long value " + std::u16string(1, u'a' + i % 26) + u"\n";
    large.Bind(u"user", Fnd_String(u"large"));
    large.Bind(u"notes", Fnd_String(lines.c_str()));
    Fnd_String small_text, large_text;
    small.Text_Image(small_text);
    large.Text_Image(large_text);
    const std::string expected[2] = {Narrow(small_text), Narrow(large_text)};

    // How long one save of each kind takes here bounds the random moment of the kill.
    Fnd_Condition condition;
    std::chrono::microseconds save_time[2];
    for (int kind : {1, 0}) {
        const auto began = std::chrono::steady_clock::now();
        (kind ? large : small).Save(condition, Wide(path));
        save_time[kind] = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - began);
        ASSERT_FALSE(condition.Failed()) << Text_Of(condition);
        ASSERT_EQ(Contents(path), expected[kind]);
    }
    std::mt19937 random(12345);
    int interrupted_rounds = 0;
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        int progress[2];
        ASSERT_EQ(pipe(progress), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(progress[0]);
            Fnd_Condition status;
            for (long i = 0;; ++i) {
                const bool is_large = i % 2 == 0;
                const char starting = is_large ? 'L' : 's';
                if (write(progress[1], &starting, 1) != 1) _exit(1);
                (is_large ? large : small).Save(status, Wide(path));
                if (status.Failed()) _exit(2);
            }
        }
        close(progress[1]);
        // After the child's first whole save, wait for the start of a save of this
        // round's kind and kill somewhere inside it.
        const int kind = round % 2;
        const char wanted = kind ? 'L' : 's';
        char seen = 0;
        int starts = 0;
        while (starts < 2 || seen != wanted) {
            ASSERT_EQ(read(progress[0], &seen, 1), 1);
            ++starts;
        }
        const int longest = std::max<int>(1, static_cast<int>(save_time[kind].count()));
        usleep(std::uniform_int_distribution<int>(0, longest)(random));
        kill(child, SIGKILL);
        int wait_status = 0;
        ASSERT_EQ(waitpid(child, &wait_status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(wait_status) && WTERMSIG(wait_status) == SIGKILL);
        close(progress[0]);
        const std::string now = Contents(path);
        ASSERT_TRUE(now == expected[0] || now == expected[1]) << "round " << round << ": "
                                                              << now.size() << " bytes";
        // A hidden temporary left behind means the kill came in the middle of a save,
        // the moment the file must survive; it is not the file and is cleared away.
        bool interrupted = false;
        for (const auto& entry : std::filesystem::directory_iterator(Dir))
            if (entry.path().filename().string()[0] == '.') {
                interrupted = true;
                std::filesystem::remove(entry.path());
            }
        interrupted_rounds += interrupted;
    }
    EXPECT_GT(interrupted_rounds, 0);
}

}  // namespace
