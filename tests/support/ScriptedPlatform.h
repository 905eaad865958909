#pragma once
// A platform for tests: records every call and answers from queues.
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "frontend/Platform.h"

struct ScriptedPlatform : Platform {
    using Answer = std::optional<std::string>;
    using Answers = std::deque<Answer>;
    struct Box {
        std::string text, title;
        BoxIcon icon;
    };
    std::vector<Box> boxes;
    std::vector<std::string> prompts, started, waited;
    Answers inputAnswers, folderAnswers, openAnswers, saveAnswers;  // empty: cancelled
    int beeps = 0, doEvents = 0;
    bool startSucceeds = true;
    double clock = 12 * 3600.0;  // fixed time of day unless a test moves it

    void MessageBox(const std::string& text, const std::string& title, BoxIcon icon) override {
        boxes.push_back({text, title, icon});
    }
    Answer InputBox(const std::string& prompt, const std::string&, const std::string&) override {
        prompts.push_back(prompt);
        return Pop(inputAnswers);
    }
    Answer PickFolder(const std::string&) override { return Pop(folderAnswers); }
    Answer OpenFileDialog(const std::string&, const std::string&) override { return Pop(openAnswers); }
    Answer SaveFileDialog(const std::string&, const std::string&) override { return Pop(saveAnswers); }
    void Beep() override { ++beeps; }
    void DoEvents() override { ++doEvents; }
    bool StartProgram(const std::string& commandLine, const std::string&) override {
        started.push_back(commandLine);
        return startSucceeds;
    }
    bool RunProgramAndWait(const std::string& commandLine, const std::string&) override {
        waited.push_back(commandLine);
        return startSucceeds;
    }
    double TimeOfDay() override { return clock; }

private:
    static Answer Pop(Answers& q) {
        if (q.empty()) return std::nullopt;
        auto v = q.front();
        q.pop_front();
        return v;
    }
};
