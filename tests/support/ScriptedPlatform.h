#pragma once
// A platform for tests: records every call and answers from queues.
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "core/Platform.h"

struct ScriptedPlatform : Platform {
    using Answer = std::optional<std::string>;
    using Answers = std::deque<Answer>;
    struct Box {
        std::string text, title;
        // The text without the note of ours that may follow it on a line of its own.
        std::string First() const { return text.substr(0, text.find("\nNote: ")); }
    };
    std::vector<Box> boxes;
    std::vector<std::string> prompts, started, errors;
    Answers inputAnswers, folderAnswers;  // empty: cancelled; file dialogs are always cancelled
    std::deque<bool> yesNoAnswers;        // empty: no
    int beeps = 0, doEvents = 0;

    void MessageBox(const std::string& text, const std::string& title, BoxIcon) override {
        boxes.push_back({text, title});
    }
    Answer InputBox(const std::string& prompt, const std::string&, const std::string&) override {
        prompts.push_back(prompt);
        return Pop(inputAnswers);
    }
    bool AskYesNo(const std::string& text, const std::string&) override {
        prompts.push_back(text);
        const bool yes = !yesNoAnswers.empty() && yesNoAnswers.front();
        if (!yesNoAnswers.empty()) yesNoAnswers.pop_front();
        return yes;
    }
    Answer PickFolder(const std::string&) override { return Pop(folderAnswers); }
    Answer OpenFileDialog(const std::string&, const std::string&) override { return std::nullopt; }
    Answer SaveFileDialog(const std::string&, const std::string&) override { return std::nullopt; }
    void ErrorOutput(const std::string& line) override { errors.push_back(line); }
    void Beep() override { ++beeps; }
    void DoEvents() override { ++doEvents; }
    bool StartProgram(const std::string& commandLine, const std::string&) override {
        started.push_back(commandLine);
        return true;
    }
    bool RunProgramAndWait(const std::string&, const std::string&) override { return true; }
    double TimeOfDay() override { return 12 * 3600.0; }  // a fixed time of day
    static Answer Pop(Answers& q) {
        const Answer v = q.empty() ? std::nullopt : q.front();
        if (!q.empty()) q.pop_front();
        return v;
    }
};
