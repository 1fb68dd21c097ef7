/* A whole user of the C interface, compiled as C99: a kernel of two functions' worth of memory, an
   engine of one QoS, a request, its dump and its end. */
#include <errno.h>
#include <string.h>

#include "corebeacon/corebeacon.h"

static const char kMinNode[] = "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq";
static const char kFrequencies[] = "1239000 1952000 2487000\n";

struct kernel {
    int list_is_read;
    char floor[32];
};

enum { FD_LIST = 1000, FD_FLOOR, FD_OTHER };

static int Open(void* user, const char* path, int flags) {
    struct kernel* kernel = user;
    (void)flags;
    kernel->list_is_read = 0;
    if (strstr(path, "scaling_available_frequencies") != NULL) {
        return FD_LIST;
    }
    return strcmp(path, kMinNode) == 0 ? FD_FLOOR : FD_OTHER;
}

static ssize_t Read(void* user, int fd, void* buffer, size_t size) {
    struct kernel* kernel = user;
    const size_t length = sizeof(kFrequencies) - 1;
    if (fd != FD_LIST || size < length) {
        errno = EINVAL;
        return -1;
    }
    if (kernel->list_is_read) {
        return 0;
    }
    kernel->list_is_read = 1;
    memcpy(buffer, kFrequencies, length);
    return (ssize_t)length;
}

static ssize_t Write(void* user, int fd, const void* data, size_t size) {
    struct kernel* kernel = user;
    if (fd == FD_FLOOR && size < sizeof(kernel->floor)) {
        memcpy(kernel->floor, data, size);
        kernel->floor[size] = '\0';
    }
    return (ssize_t)size;
}

static int Close(void* user, int fd) {
    (void)user;
    (void)fd;
    return 0;
}

static int Ioctl(void* user, int fd, unsigned long request, void* argument) {
    (void)user;
    (void)fd;
    (void)request;
    (void)argument;
    errno = ENOTTY;
    return -1;
}

#define EXPECT(condition)    \
    do {                     \
        if (!(condition)) {  \
            return __LINE__; \
        }                    \
    } while (0)

static int AskOnce(corebeacon_engine* engine) {
    const corebeacon_item item = {COREBEACON_QOS_CPU_B, 0, COREBEACON_BOOST, 1952000};
    unsigned long handle = 0;
    char text[4096];
    EXPECT(corebeacon_request(engine, 1001, 0, &item, 1, &handle) == 0);
    /* The dump is answered after the request. */
    EXPECT(corebeacon_task_dump(engine, 0, text, sizeof(text)) > 0);
    EXPECT(strstr(text, "final: 1952000~2487000") != NULL);
    return 0;
}

int UseTheInterfaceFromC(void);

int UseTheInterfaceFromC(void) {
    static const uint32_t qos[] = {COREBEACON_QOS_CPU_B};
    struct kernel kernel = {0, ""};
    corebeacon_node_io io = {0};
    corebeacon_options options = {0};
    corebeacon_engine* engine = NULL;
    int failed;

    io.size = sizeof(io);
    io.user = &kernel;
    io.open_node = Open;
    io.read_node = Read;
    io.write_node = Write;
    io.close_node = Close;
    io.ioctl_node = Ioctl;
    EXPECT(corebeacon_set_node_io(&io) == 0);

    options.size = sizeof(options);
    options.qos = qos;
    options.qos_count = 1;
    EXPECT(corebeacon_create(&options, &engine) == 0);
    failed = AskOnce(engine);
    corebeacon_destroy(engine);
    EXPECT(corebeacon_set_node_io(NULL) == 0);
    EXPECT(failed == 0);
    EXPECT(strcmp(kernel.floor, "1952000") == 0);
    return 0;
}
