// Addresses, names and keys made anonymous: the same one gets the same other one everywhere, of the same
// length, so that messages keep their shape. What is told apart stays apart.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class Anonymous
{
public:
    /** "5a:5e:5c:00:00:01" and so on; addresses of nobody (all zero, all ones) stay. */
    std::string mac(const std::string &real);
    /** An interface's: "n1xxx"; what begins with a point stays, and so do names like phy0. */
    std::string name(const std::string &real);
    std::string ssid(const std::string &real);
    /** Words of a text that were met before; addresses also where they weren't. */
    std::string words(const std::string &text);
    /** hostapd's reply: lines that tell nothing of anybody, and all others' values crossed out. */
    std::string reply(const std::string &text);
    /** The content of a netlink message: a row of attributes. */
    void attributes(std::vector<uint8_t> &content);

private:
    std::string other(std::map<std::string, std::string> &known, const std::string &real, char kind);
    std::map<std::string, std::string> macs, names, ssids;
};
