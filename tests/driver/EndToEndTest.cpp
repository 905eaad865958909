#include <gtest/gtest.h>

#include "driver/ConvertLevel.h"
#include "frontend/Program.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

namespace {
struct Conversion {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};
    Conversion() { prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput); }
    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    std::vector<uint8_t> Convert(const std::string& base, const std::string& newName) {
        prog.form.Check3.SetValue(0);
        ConvertLevel(prog, SharedLevel("source-tr4.TR4"), SharedLevel(base), dir / newName);
        prog.channels.CloseAllChannels();
        return ReadFileBytes(dir / newName);
    }
};
}  // namespace

TEST(EndToEnd, RealSourceAgainstEveryBase) {
    for (auto [base, name] : std::vector<std::pair<std::string, std::string>>{
             {"base-tr1.PHD", "new.PHD"}, {"base-gold.TUB", "new.TUB"}, {"base-tr2.TR2", "new.TR2"},
             {"base-tr3.TR2", "new.TR2"}, {"base-tr5.TRC", "new.TRC"}}) {
        Conversion r;
        auto out = r.Convert(base, name);
        auto m = r.Messages();
        for (auto& line : m) std::cout << base << ": " << line << "\n";
        EXPECT_TRUE(std::find(m.begin(), m.end(), "Conversion done") != m.end()) << base;
        std::cout << base << " size " << out.size() << "\n";
    }
}
