// Children, files and the bus client of the system tests.
#include "tests/system/harness.h"

#include <arpa/inet.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>

#include "include/vesk_event.h"

namespace {

std::string bytes_of(blob_attr *attribute) {
    auto *data = static_cast<const char *>(blobmsg_data(attribute));
    return { data, static_cast<size_t>(blobmsg_data_len(attribute)) };
}

void read_reply(ubus_request *request, int, blob_attr *msg) {
    auto *answer = static_cast<Answer *>(request->priv);
    blob_attr *part;
    size_t rest;
    blobmsg_for_each_attr(part, msg, rest) {
        if (answer->fields == 0 && strcmp(blobmsg_name(part), "return") == 0)
            answer->result = static_cast<int>(blobmsg_get_u32(part));
        if (answer->fields == 1) {
            answer->key = blobmsg_name(part);
            answer->record = bytes_of(part);
        }
        answer->fields++;
    }
}

void note_signal(ubus_context *, ubus_event_handler *handler, const char *name, blob_attr *msg) {
    auto *bus = reinterpret_cast<Bus *>(handler);
    Signal signal = { name, "" };
    static const blobmsg_policy policy = { "payload", BLOBMSG_TYPE_UNSPEC };
    blob_attr *part;
    blobmsg_parse(&policy, 1, &part, blob_data(msg), static_cast<unsigned>(blob_len(msg)));
    if (part) signal.payload = bytes_of(part);
    bus->signals.push_back(signal);
}

} // namespace

Child::Child(const std::string &program, const std::vector<std::string> &arguments) {
    static int serial;
    base = "/tmp/output/" + program + "." + std::to_string(serial++);
    std::vector<std::string> words = { VESK_BUILD_DIR "/" + program };
    if (*VESK_EMULATOR) words.insert(words.begin(), VESK_EMULATOR);
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid = in_child([&] {
        signal(SIGPIPE, SIG_DFL); // the tests' own bus library ignores it
        if (freopen((base + ".out").c_str(), "w", stdout) && freopen((base + ".err").c_str(), "w", stderr))
            execvp(argv[0], argv.data());
    });
}

Child &Child::operator=(Child &&other) noexcept {
    std::swap(pid, other.pid);
    std::swap(base, other.base);
    return *this;
}

int finish(Child &child) {
    int waitStatus = 0;
    if (!eventually([&] { return waitpid(child.pid, &waitStatus, WNOHANG) == child.pid; })) return -1;
    child.pid = -1;
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 256 + WTERMSIG(waitStatus);
}

bool runs(const Child &child) { return child.pid > 0 && waitpid(child.pid, nullptr, WNOHANG) == 0; }

Outcome veskctl(const std::string &words) {
    std::istringstream stream(words);
    Child child("veskctl", { std::istream_iterator<std::string>(stream), {} });
    const int status = finish(child);
    return { status, child.out(), child.err() };
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

void write_file(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

Bus::Bus() : ctx(ubus_connect(busSocket.c_str())) {
    listener.cb = note_signal;
    if (ctx) ubus_register_event_handler(ctx, &listener, "tamlo.pelk.vesk.vesk*");
}

Answer Bus::call(const char *method, blob_attr *arguments) {
    uint32_t id = 0;
    Answer answer;
    answer.status = lookup(&id);
    if (answer.status == 0) answer.status = ubus_invoke(ctx, id, method, arguments, read_reply, &answer, PATIENCE);
    return answer;
}

Answer Bus::call(const char *method, const std::function<void(blob_buf *)> &fill) {
    blob_buf arguments = {};
    blob_buf_init(&arguments, 0);
    if (fill) fill(&arguments);
    const Answer answer = call(method, arguments.head);
    blob_buf_free(&arguments);
    return answer;
}

int Bus::send(const char *name, const std::string &payload) {
    if (!ctx) return -1;
    blob_buf content = {};
    blob_buf_init(&content, 0);
    blobmsg_add_field(&content, BLOBMSG_TYPE_UNSPEC, "payload", payload.data(), static_cast<unsigned>(payload.size()));
    int status = ubus_send_event(ctx, name, content.head);
    blob_buf_free(&content);
    return status;
}

bool Bus::listen(const std::function<bool()> &question) {
    return eventually([&] {
        for (int i = 0; i < 64; i++) ubus_handle_event(ctx); // the genuine library may take one message a call
        return question();
    });
}

void System::SetUp() {
    // Under ctest every test has a root of its own; this is for the whole program run in one.
    for (const char *folder : { "/run", "/configs", "/tmp", "/usr/etc" })
        for (const auto &left : std::filesystem::directory_iterator(folder)) std::filesystem::remove_all(left);
    std::filesystem::create_directory("/tmp/output");
    std::filesystem::copy(VESK_SOURCE_DIR "/platform/sim/kor-product-cfg.json", "/usr/etc/");
}

void System::startBroker() {
    broker = Child("vesk-busd");
    ASSERT_TRUE(eventually([] { return close(connect_to(busSocket)) == 0; })) << broker.err();
}

void System::startDaemon() {
    daemon = Child("vesk");
    ASSERT_TRUE(eventually(on_the_bus)) << daemon.err() << read_file("/tmp/vesk.log");
    ASSERT_EQ(Bus().call("getVersionInfo").status, 0);
}

void System::startBoth() {
    ASSERT_NO_FATAL_FAILURE(startBroker());
    ASSERT_NO_FATAL_FAILURE(startDaemon());
}

bool on_the_bus() {
    Bus bus;
    uint32_t id = 0;
    return bus.lookup(&id) == 0 && id != 0;
}

void send_event(uint32_t id, const std::string &ifName, const std::string &body) {
    VeskEventHeader header = {};
    header.eventId = id;
    memcpy(header.ifName, ifName.data(), std::min(ifName.size(), sizeof header.ifName - 1));
    const std::string datagram = std::string(reinterpret_cast<const char *>(&header), sizeof header) + body;
    const sockaddr_in address = { AF_INET, htons(VESK_EVENT_PORT), { htonl(INADDR_LOOPBACK) }, {} };
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    close(fd);
}

void configure(const std::string &lines) {
    write_file("/configs/vesk/vesk_debug_flag", "");
    write_file("/configs/vesk/vesk.conf", lines);
}

std::string word(int32_t value) { return { reinterpret_cast<const char *>(&value), sizeof value }; }
std::string log_record(int32_t level) { return word(level) + std::string(32, '\0'); }

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!getenv("VESK_PRIVATE_ROOT") || read_file("/proc/1/comm") != "bwrap\n") {
        fputs("These tests use absolute paths: run them through scripts/private-root.\n", stderr);
        return 2;
    }
    return RUN_ALL_TESTS();
}
