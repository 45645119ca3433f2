#include "platform/nl80211/drelm/message.h"

#include <charconv>

namespace radio
{

namespace
{

enum class Argument { none, mac, hex };

struct Event {
    std::string_view begin; // with all that stands before the argument
    MessageKind kind;
    Argument argument;
};

constexpr Event events[] = {
    { "AP-STA-CONNECTED ", MessageKind::joined, Argument::mac },
    { "AP-STA-DISCONNECTED ", MessageKind::left, Argument::mac },
    { "AP-MGMT-FRAME-RECEIVED buf=", MessageKind::frame, Argument::hex },
    { "RX-PROBE-REQUEST sa=", MessageKind::probe, Argument::mac },
    { "AP-ENABLED", MessageKind::enabled, Argument::none },
    { "AP-DISABLED", MessageKind::changed, Argument::none },
    { "AP-CSA-FINISHED", MessageKind::changed, Argument::none },
    { "CTRL-EVENT-TERMINATING", MessageKind::changed, Argument::none },
    { "WPS-REG-SUCCESS ", MessageKind::enrolled, Argument::mac },
    { "WPS-SUCCESS", MessageKind::wpsDone, Argument::none },
    { "CTRL-EVENT-CONNECTED - Connection to ", MessageKind::connected, Argument::mac },
};

constexpr size_t macLength = 17; // 02:00:00:00:00:01

/** Value of a hexadecimal digit, or -1. */
int digit_of(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

/** -1 if there is no pair of digits. */
int byte_at(std::string_view text, size_t at)
{
    if (at + 2 > text.size())
        return -1;
    const int high = digit_of(text[at]);
    const int low = digit_of(text[at + 1]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

/** Whether a word ends here. */
bool ends_at(std::string_view text, size_t at)
{
    return at == text.size() || (at < text.size() && (text[at] == ' ' || text[at] == '\n'));
}

bool read_mac(std::string_view text, uint8_t (&mac)[6])
{
    for (size_t i = 0; i < 6; i++) {
        const int byte = byte_at(text, 3 * i);
        if (byte < 0 || (i > 0 && text[3 * i - 1] != ':'))
            return false;
        mac[i] = static_cast<uint8_t>(byte);
    }
    return ends_at(text, macLength);
}

/** What stands behind " signal=". */
int read_signal(std::string_view text)
{
    constexpr std::string_view name = " signal=";
    int signal = 0;
    if (text.starts_with(name))
        std::from_chars(text.data() + name.size(), text.data() + text.size(), signal);
    return signal >= -127 && signal < 0 ? signal : 0;
}

/** What stands behind `count` characters; nothing if there are fewer. */
std::string_view behind(std::string_view text, size_t count)
{
    text.remove_prefix(count < text.size() ? count : text.size());
    return text;
}

bool read_argument(const Event &event, std::string_view rest, Message &message)
{
    switch (event.argument) {
    case Argument::mac:
        if (!read_mac(rest, message.mac))
            return false;
        message.signal = read_signal(behind(rest, macLength));
        return true;
    case Argument::hex:
        message.hex = rest;
        return true;
    case Argument::none:
        break;
    }
    return ends_at(rest, 0);
}

} // namespace

Message message_read(std::string_view text)
{
    Message message = { MessageKind::reply, {}, 0, {} };
    if (text.empty() || text[0] != '<')
        return message;
    message.kind = MessageKind::unknown;
    if (text.size() < 3 || text[2] != '>')
        return message;
    text = behind(text, 3);
    for (const Event &event : events) {
        if (text.starts_with(event.begin) &&
            read_argument(event, behind(text, event.begin.size()), message)) {
            message.kind = event.kind;
            break;
        }
    }
    return message;
}

Bytes message_bytes(std::string_view hex, uint8_t *to, size_t size)
{
    size_t count = 0;
    for (int byte; count < size && (byte = byte_at(hex, 2 * count)) >= 0; count++)
        to[count] = static_cast<uint8_t>(byte);
    return { to, count };
}

} // namespace radio
