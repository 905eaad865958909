#pragma once
// Values of the conversion driver that live across stages.
#include <cstdint>
#include <string>
#include <vector>

// How the last conversion ended.
enum class ConversionOutcome {
    None,          // no conversion has ended yet
    Completed,     // it ran to its end
    InputRefused,  // a check refused the source or the base
    RuntimeError,  // it ended in the error path
    // The new level is complete, but the texture optimizer behind it could not be started (the
    // error path ran all the same).
    OptimizerNotStarted,
};

struct DriverState {
    // Target format: 1 TR1, 2 Gold, 3 TR2, 4 TR3, 6 TR5 (0 before the first conversion).
    int NewLevelVersion = 0;
    // Base level's version word, as read.
    int32_t BaseVersionWord = 0;
    // Path of the new level, for the stages that close channel 3 and open the level again.
    std::string NewLevelPath;
    // Time of day when the running conversion started, in seconds.
    double StartTime = 0;
    // Way out of the last conversion, and the log line it ended with where a refusal or an
    // error was logged (empty otherwise).
    ConversionOutcome Outcome = ConversionOutcome::None;
    std::string OutcomeLine;
    // The "Note: " lines of the last completed conversion that name an engine limit its new
    // level exceeds; an unattended run prints them.
    std::vector<std::string> LimitNotes;
    // Set while the optimizer is being started: the new level is complete by then, and an error
    // there leaves it so.
    bool OptimizerStarting = false;
    // A note that the stage raising an error prepared for the error path, where it knows more
    // than the channels tell; empty otherwise.
    std::string ErrorNote;
};
