// Functions of the client's library by the names that library.rows calls them.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

using Words = std::vector<std::string>;
using RowFunctions = std::map<std::string, std::function<std::string(const Words &)>>;

/** Those that ask a bus, which device_test.cpp stands in for. */
extern const RowFunctions deviceFunctions;
