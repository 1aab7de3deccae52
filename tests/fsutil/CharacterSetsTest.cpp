#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>

#include "fsutil/QRLFileSystemUtility.h"

namespace qrl {
namespace {

using Utility = QRLFileSystemUtility;

struct CharacterSetCase {
  const char* name;
  std::string_view actual;
  std::string_view expected;
};

TEST(CharacterSets, HoldExactlyTheListedCharactersInOrder) {
  const CharacterSetCase cases[] = {
      {"invalidFilePathCharacters", Utility::invalidFilePathCharacters(), ":'*?[]^{}~$&|<>\\;()"},
      {"invalidFileNameCharacters", Utility::invalidFileNameCharacters(), ":'*?[]^{}~$&|<>\\;()/"},
      {"terminalEscapeCharacters", Utility::terminalEscapeCharacters(), " !#$%&*()=[]|;'\"<>?"},
      {"illegalLTFSFileCharacterSet", Utility::illegalLTFSFileCharacterSet(), "<>:\"\\|?*%"},
      {"illegalMacFileCharacterSet", Utility::illegalMacFileCharacterSet(), ":"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.actual, c.expected) << c.name;
    EXPECT_EQ(std::set<char>(c.actual.begin(), c.actual.end()).size(), c.actual.size())
        << c.name << " repeats a character";
  }
  EXPECT_EQ(Utility::invalidFilePathCharacters().size(), 19u);
  EXPECT_EQ(Utility::terminalEscapeCharacters().size(), 19u);
  EXPECT_EQ(Utility::illegalLTFSFileCharacterSet().size(), 9u);
}

TEST(CharacterSets, FileNameSetIsThePathSetPlusSlash) {
  EXPECT_EQ(std::string(Utility::invalidFileNameCharacters()),
            std::string(Utility::invalidFilePathCharacters()) + "/");
  EXPECT_EQ(Utility::invalidFilePathCharacters().find('/'), std::string_view::npos);
}

struct NameCase {
  std::string_view input;
  std::string_view cleaned;
  bool valid;
};

TEST(Names, RemovalAndValidity) {
  const NameCase cases[] = {
      {"", "", true},
      {"plain-name", "plain-name", true},
      {"Reel 01_final.mov", "Reel 01_final.mov", true},
      {"a/b/c", "a/b/c", true},  // a path may hold slashes
      {"Scene:1", "Scene1", false},
      {"it's (take 2) [alt]", "its take 2 alt", false},
      {"~$&|<>\\;^{}*?", "", false},
      {"::::", "", false},
      {"caf\xc3\xa9 \xe6\x98\xa0\xe5\x83\x8f", "caf\xc3\xa9 \xe6\x98\xa0\xe5\x83\x8f", true},
      {"100%!#=\"", "100%!#=\"", true},  // only meaningful to a shell, not to a path
  };
  const Utility utility;
  for (const auto& c : cases) {
    EXPECT_EQ(utility.removeInvalidPathCharactersFromPath(c.input), c.cleaned) << c.input;
    EXPECT_EQ(utility.directoryNameIsValid(c.input), c.valid) << c.input;
  }
}

TEST(Names, EveryInvalidPathCharacterMakesANameInvalid) {
  const Utility utility;
  for (const char c : Utility::invalidFilePathCharacters()) {
    const std::string name = std::string("ab") + c + "cd";
    EXPECT_FALSE(utility.directoryNameIsValid(name)) << name;
    EXPECT_EQ(utility.removeInvalidPathCharactersFromPath(name), "abcd") << name;
  }
}

struct EscapeCase {
  std::string_view input;
  std::string_view escaped;
};

TEST(Escaping, PutsABackslashBeforeEachShellCharacter) {
  const EscapeCase cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"my file (1).mov", "my\\ file\\ \\(1\\).mov"},
      {"a\\b", "a\\b"},  // the backslash itself is left alone
      {"$HOME/*.mov", "\\$HOME/\\*.mov"},
      {"x  y", "x\\ \\ y"},
      {"'\"<>?|;=[]!#%&", "\\'\\\"\\<\\>\\?\\|\\;\\=\\[\\]\\!\\#\\%\\&"},
      {"~:^{}", "~:^{}"},  // path-invalid but not in the escape set
  };
  const Utility utility;
  for (const auto& c : cases) {
    EXPECT_EQ(utility.escapeFilePathCharacters(c.input), c.escaped) << c.input;
  }
}

TEST(Escaping, EscapesEachCharacterOfTheSetOnce) {
  const Utility utility;
  for (const char c : Utility::terminalEscapeCharacters()) {
    const std::string input{c, c};
    const std::string expected{'\\', c, '\\', c};
    EXPECT_EQ(utility.escapeFilePathCharacters(input), expected) << input;
  }
}

}  // namespace
}  // namespace qrl
