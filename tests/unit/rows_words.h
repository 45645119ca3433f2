// What the words of rows/*.rows mean: the tables of what a step may do and of what it can ask for.
#pragma once

#include "tests/unit/daemon_settings.h"
#include "tests/unit/rows_field.h"

/** "do NAME WORDS": the words behind the name. */
extern const std::map<std::string, std::function<void(const Texts &words)>> rowActions;
/** "NAME(WORD) == ANSWER" */
extern const std::map<std::string, std::function<std::string(const std::string &word)>> rowQuestions;

/** What the rows know besides the fakes; anew for each case. */
struct RowWorld {
    struct Hook {
        std::string function, step;
        int number; // of the call; 0: each
    };
    std::vector<Hook> hooks;
    std::map<std::string, int> calls;         // by function; "sleep" is one, too
    std::map<std::string, std::string> times; // by function: "second:arguments" of each call
    int sentAtLastCall = 0, scanningAtLastCall = 0;
    BusReply reply; // the last
};
extern RowWorld rowWorld;

/** Has the calls of the device and the sleeps noted, and the steps run that were left for them. */
void watch_calls();
/** Runs the step that a line of text stands for. */
void run_row_step(const std::string &step);

/** "3", "1-13", "1,6,11" */
inline Channels range_of(const std::string &text) {
    Channels all;
    for (const std::string &part : split(text, ',')) {
        const size_t dash = part.find('-', 1);
        const int first = number<int>(part),
                  last = dash == std::string::npos ? first : number<int>(part.substr(dash + 1));
        for (int i = first; i <= last; i++) all.push_back(static_cast<uint8_t>(i));
    }
    return all;
}
