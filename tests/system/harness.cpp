// Children, deadlines and the bus client of the system tests.
#include "tests/system/harness.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "include/vesk_event.h"

namespace
{

const char socketPath[] = "/var/run/ubus.sock";
int serial; // makes the names of output files unique

int open_output(const std::string &path)
{
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
}

[[noreturn]] void become(const std::vector<std::string> &words, int out, int err)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGPIPE, SIG_DFL); // the tests' own bus library ignores it
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execvp(argv[0], argv.data());
    _exit(127);
}

int status_of(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 256 + WTERMSIG(waitStatus);
}

bool broker_answers()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, socketPath, sizeof socketPath);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool answers = connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(fd);
    return answers;
}

std::string bytes_of(blob_attr *attribute)
{
    auto *data = static_cast<const char *>(blobmsg_data(attribute));
    return { data, static_cast<size_t>(blobmsg_data_len(attribute)) };
}

void read_reply(ubus_request *request, int, blob_attr *message)
{
    auto *answer = static_cast<Answer *>(request->priv);
    blob_attr *field;
    size_t rest;
    blobmsg_for_each_attr(field, message, rest)
    {
        if (answer->fields == 0 && strcmp(blobmsg_name(field), "return") == 0)
            answer->result = static_cast<int>(blobmsg_get_u32(field));
        if (answer->fields == 1) {
            answer->key = blobmsg_name(field);
            answer->record = bytes_of(field);
        }
        answer->fields++;
    }
}

void note_signal(ubus_context *, ubus_event_handler *handler, const char *name, blob_attr *message)
{
    auto *bus = reinterpret_cast<Bus *>(handler);
    Signal signal = { name, "" };
    blob_attr *field;
    size_t rest;
    blobmsg_for_each_attr(field, message, rest)
    {
        if (strcmp(blobmsg_name(field), "payload") == 0)
            signal.payload = bytes_of(field);
    }
    bus->signals.push_back(signal);
}

} // namespace

Child &Child::operator=(Child &&other) noexcept
{
    kill();
    pid = std::exchange(other.pid, -1);
    outPath = std::move(other.outPath);
    errPath = std::move(other.errPath);
    return *this;
}

void Child::kill()
{
    if (pid <= 0)
        return;
    ::kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = -1;
}

std::string Child::out() const
{
    return read_file(outPath);
}
std::string Child::err() const
{
    return read_file(errPath);
}

Child start(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<std::string> words = { VESK_BUILD_DIR "/" + program };
    if (*VESK_EMULATOR)
        words.insert(words.begin(), VESK_EMULATOR);
    words.insert(words.end(), arguments.begin(), arguments.end());

    Child child;
    std::string base = "/tmp/output/" + program + "." + std::to_string(serial++);
    child.outPath = base + ".out";
    child.errPath = base + ".err";
    int out = open_output(child.outPath), err = open_output(child.errPath);
    child.pid = fork();
    if (child.pid == 0)
        become(words, out, err);
    close(out);
    close(err);
    return child;
}

int finish(Child &child, std::chrono::milliseconds span)
{
    int waitStatus = 0;
    if (!eventually(span, [&] { return waitpid(child.pid, &waitStatus, WNOHANG) == child.pid; }))
        return -1;
    child.pid = -1;
    return status_of(waitStatus);
}

bool runs(const Child &child)
{
    return child.pid > 0 && waitpid(child.pid, nullptr, WNOHANG) == 0;
}

Outcome veskctl(const std::vector<std::string> &arguments)
{
    Child child = start("veskctl", arguments);
    int status = finish(child, PATIENCE);
    return { status, child.out(), child.err() };
}

bool eventually(std::chrono::milliseconds span, const std::function<bool()> &question)
{
    auto deadline = std::chrono::steady_clock::now() + span;
    while (!question()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        usleep(20000);
    }
    return true;
}

std::string read_file(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

void write_file(const std::string &path, const std::string &text)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

bool exists(const std::string &path)
{
    return access(path.c_str(), F_OK) == 0;
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

Bus::Bus() : ctx(ubus_connect(socketPath))
{
    listener.cb = note_signal;
    if (ctx)
        ubus_register_event_handler(ctx, &listener, "tamlo.pelk.vesk.vesk*");
}

Bus::~Bus()
{
    if (ctx)
        ubus_free(ctx);
}

int Bus::lookup(uint32_t *id, const char *object)
{
    return ctx ? ubus_lookup_id(ctx, object, id) : -1;
}

Answer Bus::call(const char *method, const std::function<void(blob_buf *)> &fill)
{
    uint32_t id = 0;
    Answer answer;
    answer.status = lookup(&id);
    if (answer.status != 0)
        return answer;
    blob_buf arguments = {};
    blob_buf_init(&arguments, 0);
    if (fill)
        fill(&arguments);
    answer.status = ubus_invoke(ctx, id, method, arguments.head, read_reply, &answer, 5000);
    blob_buf_free(&arguments);
    return answer;
}

int Bus::send(const char *name, const std::string &payload)
{
    blob_buf message = {};
    blob_buf_init(&message, 0);
    blobmsg_add_field(&message, BLOBMSG_TYPE_UNSPEC, "payload", payload.data(),
                      static_cast<unsigned>(payload.size()));
    int status = ubus_send_event(ctx, name, message.head);
    blob_buf_free(&message);
    return status;
}

bool Bus::listen(std::chrono::milliseconds span, const std::function<bool()> &question)
{
    return eventually(span, [&] {
        ubus_handle_event(ctx);
        return question();
    });
}

const Signal *Bus::find(const std::string &name) const
{
    for (const Signal &signal : signals) {
        if (signal.name == name)
            return &signal;
    }
    return nullptr;
}

void System::SetUp()
{
    // Under ctest every test has a root of its own; this is for the whole program run in one.
    for (const char *left :
         { "/run/ubus.sock", "/run/vesk.pid", "/configs/vesk", "/tmp/vesk.log", "/tmp/vesk_ready",
           "/tmp/vesk_init.log", "/tmp/vesk-sim.log", "/tmp/vesk-sim.json", "/usr/etc/kor-product-cfg.json" })
        std::filesystem::remove_all(left);
    std::filesystem::create_directory("/tmp/output");
    std::filesystem::copy(VESK_SOURCE_DIR "/platform/rilk_sim/kor-product-cfg.json", "/usr/etc/");
}

void System::startBroker()
{
    broker = start("vesk-busd");
    ASSERT_TRUE(eventually(PATIENCE, broker_answers)) << broker.err();
}

void System::startDaemon()
{
    daemon = start("vesk");
    ASSERT_TRUE(eventually(PATIENCE, on_the_bus)) << daemon.err() << read_file("/tmp/vesk.log");
}

void System::startBoth()
{
    ASSERT_NO_FATAL_FAILURE(startBroker());
    ASSERT_NO_FATAL_FAILURE(startDaemon());
}

bool on_the_bus()
{
    Bus bus;
    uint32_t id = 0;
    return bus.lookup(&id) == 0 && id != 0;
}

void send_event(uint32_t id, const std::string &ifName, const std::string &body)
{
    VeskEventHeader header = {};
    header.eventId = id;
    memcpy(header.ifName, ifName.data(), std::min(ifName.size(), sizeof header.ifName - 1));
    std::string datagram(reinterpret_cast<const char *>(&header), sizeof header);
    datagram += body;

    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(VESK_EVENT_PORT);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr *>(&address), sizeof address);
    close(fd);
}

std::string log_record(uint32_t level)
{
    std::string record(36, '\0');
    memcpy(record.data(), &level, sizeof level);
    return record;
}

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!getenv("VESK_PRIVATE_ROOT") || read_file("/proc/1/comm") != "bwrap\n") {
        fputs("These tests use absolute paths: run them through scripts/private-root.\n", stderr);
        return 2;
    }
    return RUN_ALL_TESTS();
}
