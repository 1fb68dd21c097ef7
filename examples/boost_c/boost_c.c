/* Raises the floor of the big cores for 100 ms, on a device that prints what is written to it. */
#define _POSIX_C_SOURCE 199309L

#include <corebeacon/corebeacon.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

/* Stands in for the kernel: every node can be opened, and every read gives this frequency list. The
   engine has one QoS here, so all nodes are used by one thread at a time. */
struct device {
    const char* paths[64];
    int count;
    int list_ends;
};

static int open_node(void* user, const char* path, int flags) {
    static char names[64][128];
    struct device* device = user;
    (void)flags;
    if (device->count == 64) {
        return -1;
    }
    snprintf(names[device->count], sizeof(names[0]), "%s", path);
    device->paths[device->count] = names[device->count];
    return device->count++;
}

static ssize_t read_node(void* user, int fd, void* buffer, size_t size) {
    struct device* device = user;
    (void)fd;
    device->list_ends = !device->list_ends;
    return device->list_ends ? snprintf(buffer, size, "1239000 2487000\n") : 0;
}

static ssize_t write_node(void* user, int fd, const void* data, size_t size) {
    const struct device* device = user;
    printf("%s <- %.*s\n", device->paths[fd], (int)size, (const char*)data);
    return (ssize_t)size;
}

static int close_node(void* user, int fd) {
    (void)user, (void)fd;
    return 0;
}

static int ioctl_node(void* user, int fd, unsigned long request, void* argument) {
    (void)user, (void)fd, (void)request, (void)argument;
    return 0;
}

int main(void) {
    static struct device device;
    const corebeacon_node_io io = {sizeof(io), &device,    open_node, read_node,
                                   write_node, close_node, ioctl_node};
    const uint32_t qos[] = {COREBEACON_QOS_CPU_B};
    const corebeacon_item floor = {COREBEACON_QOS_CPU_B, 0, COREBEACON_BOOST, 2000000};
    const struct timespec wait = {0, 200 * 1000 * 1000};
    corebeacon_options options;
    corebeacon_engine* engine = NULL;
    unsigned long handle = 0;
    int result;

    memset(&options, 0, sizeof(options));
    options.size = sizeof(options);
    options.qos = qos;
    options.qos_count = 1;
    if (corebeacon_set_node_io(&io) != 0 || corebeacon_create(&options, &engine) != 0) {
        return 1;
    }
    result = corebeacon_request(engine, 1001, 100, &floor, 1, &handle);
    nanosleep(&wait, NULL);
    corebeacon_destroy(engine);
    return result == 0 ? 0 : 1;
}
