#include "frontend/HeadlessPlatform.h"

#include <iostream>

#include "frontend/ProcessLauncher.h"

void HeadlessPlatform::MessageBox(const std::string& text, const std::string& title, BoxIcon) {
    ErrorOutput(title.empty() ? text : "[" + title + "] " + text);
}

std::optional<std::string> HeadlessPlatform::InputBox(const std::string& prompt, const std::string& title,
                                                      const std::string&) {
    std::cerr << "[" << title << "] " << prompt << " (no answer: cancelled)" << std::endl;
    return std::nullopt;
}

bool HeadlessPlatform::AskYesNo(const std::string& text, const std::string& title) {
    std::cerr << "[" << title << "] " << text << " (no answer: no)" << std::endl;
    return false;
}

std::optional<std::string> HeadlessPlatform::PickFolder(const std::string& title) {
    std::cerr << title << " (no answer: cancelled)" << std::endl;
    return std::nullopt;
}

std::optional<std::string> HeadlessPlatform::OpenFileDialog(const std::string& title, const std::string&) {
    std::cerr << title << " (no answer: cancelled)" << std::endl;
    return std::nullopt;
}

std::optional<std::string> HeadlessPlatform::SaveFileDialog(const std::string& title, const std::string&) {
    std::cerr << title << " (no answer: cancelled)" << std::endl;
    return std::nullopt;
}

bool HeadlessPlatform::StartProgram(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, false);
}

bool HeadlessPlatform::RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, true);
}

std::string HeadlessPlatform::StartProblem(const std::string& commandLine) { return LaunchProblem(commandLine); }
