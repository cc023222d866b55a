/*
 * What a process holds that links the library: private memory, threads and descriptors, before the
 * first call and after the first call of each subsystem, each in a process of its own.
 *
 *     footprint KB     prints the table; fails where a limit is passed. KB is what the same
 *                      process holds without the library
 *
 * Built with FOOTPRINT_BARE it links nothing of the library and prints its private memory alone, so
 * that the table can tell what the library adds. Needs a device root with both servers running.
 */
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

struct holdings {
    long private_kb;
    long threads;
    long descriptors;
};

/* The written pages. Those that are only read are the file's own, whoever else has it open.
 * Nothing is allocated here: it would count as well. */
static long private_kb(void) {
    static char text[1 << 16];
    size_t length = 0;
    ssize_t got;
    long sum = 0;
    int fd = open("/proc/self/smaps_rollup", O_RDONLY);
    if (fd < 0) {
        return -1;
    }
    while ((got = read(fd, text + length, sizeof text - 1 - length)) > 0) {
        length += (size_t)got;
    }
    close(fd);
    text[length] = '\0';
    for (char *line = text; (line = strstr(line, "\nPrivate_Dirty")) != NULL; line++) {
        sum += atol(strchr(line, ':') + 1);
    }
    return sum;
}

static long entries(const char *path) {
    long count = 0;
    DIR *directory = opendir(path);
    while (directory != NULL && readdir(directory) != NULL) {
        count++;
    }
    closedir(directory);
    return count - 2;
}

/* The memory first: listing the directories takes some. */
static void measure(struct holdings *now) {
    now->private_kb = private_kb();
    now->threads = entries("/proc/self/task");
    now->descriptors = entries("/proc/self/fd") - 1; /* the directory that is read is open itself */
}

#ifdef FOOTPRINT_BARE

int main(void) {
    struct holdings before;
    measure(&before);
    measure(&before);
    printf("%ld\n", before.private_kb);
    return 0;
}

#else

#include "hearth/hearth.h"

static int call_log(void) {
    osa_print_log_ex("footprint", "tests/footprint", __LINE__, OSA_LOG_FATAL, "a line\n");
    return 0;
}

static int call_queue(void) {
    int32_t queue = osa_msgQ_create(9, 10, 64);
    return queue >= 0 && osa_msgQ_delete(queue) == 1 ? 0 : -1;
}

static void nothing(void *argument) {
    (void)argument;
}

static int call_timer(void) {
    return osa_timer_create_ex(60000, 0, nothing, NULL) != NULL ? 0 : -1;
}

static int call_thread_pool(void) {
    return pool_init(5);
}

static int call_at_lib(void) {
    at_server_msg message = {.mtype = (int32_t)getpid(), .timeout = 5, .report = "AT+CGSN"};
    return GetDataFromAtServer(&message);
}

static int call_at_parse(void) {
    at_creg_info info;
    memset(&info, 0, sizeof info);
    return AT_Creg(AT_CMD_TYPE_CHECK, &info);
}

static int call_config(void) {
    char value[64];
    uint32_t length = sizeof value;
    return cfg_get_config("footprint", "value", value, &length);
}

static int call_mdblite(void) {
    MDBL_Table *table = NULL;
    if (mdbl_CreateTable("/data/userdata/footprint.mdb", 64, 100, 0) != MDBL_OK) {
        return -1;
    }
    return mdbl_OpenTable("/data/userdata/footprint.mdb", 0, 0, 0, &table);
}

static int call_notify(void) {
    return init_notify();
}

static int call_xml(void) {
    XML_Node *tree = NULL;
    int32_t result = cl_xmlParse("<a><b>1</b></a>", &tree);
    cl_xmlFreeNode(tree);
    return result;
}

static int call_gz(void) {
    unsigned char packed[64];
    uLongf length = sizeof packed;
    return QC_compress(packed, &length, (const unsigned char *)"hello", 5);
}

static int call_text(void) {
    char text[16];
    uint32_t length = sizeof text;
    return (int)cl_base64Encode((const uint8_t *)"hello", 5, text, &length);
}

static int call_crypto(void) {
    uint8_t digest[32];
    return sha256("hello", 5, digest);
}

/* What the first call may take, as its header says. The threads of the library have small stacks,
 * of which they touch a part. */
static const struct row {
    const char *name;
    int (*call)(void); /* returns 0 */
    long threads;
    long descriptors;
    long private_kb;
} rows[] = {
    {"osa_log", call_log, 0, 1, 32}, /* the log file */
    {"osa_queue", call_queue, 0, 0, 16},
    {"osa_timer", call_timer, 1, 0, 32},        /* one for each timer */
    {"threadpool", call_thread_pool, 5, 0, 64}, /* as many as asked for */
    {"at_lib", call_at_lib, 0, 0, 40},
    {"at_parse", call_at_parse, 0, 0, 40},
    {"config", call_config, 0, 1, 32},   /* the counter of SIM changes */
    {"mdblite", call_mdblite, 0, 1, 32}, /* the table */
    {"notify", call_notify, 7, 1, 96},   /* receiver, pool of 5, timer; the socket */
    {"xml", call_xml, 0, 0, 16},
    {"gz", call_gz, 0, 0, 48},
    {"text", call_text, 0, 0, 8},
    {"crypto", call_crypto, 0, 0, 8},
};

enum { ROWS = sizeof rows / sizeof *rows, BEFORE_KB = 112 };

/* Makes one row's call. `bare_kb` is what a process without the library has. */
static int run_row(const struct row *row, long bare_kb) {
    struct holdings before;
    struct holdings after;
    int bad;
    measure(&before);
    measure(&before); /* the first time pays for itself */
    if (row->call() != 0) {
        printf("%-12s the call failed\n", row->name);
        return 1;
    }
    measure(&after);
    bad = before.private_kb - bare_kb > BEFORE_KB || before.threads != 1 ||
          after.private_kb - before.private_kb > row->private_kb ||
          after.threads - before.threads != row->threads ||
          after.descriptors - before.descriptors > row->descriptors;
    printf("%-12s %6ld KB (%d) %6ld KB (%3ld) %4ld (%ld) %6ld (%ld)%s\n", row->name,
           before.private_kb - bare_kb, BEFORE_KB, after.private_kb - before.private_kb,
           row->private_kb, after.threads - before.threads, row->threads,
           after.descriptors - before.descriptors, row->descriptors, bad ? "  over" : "");
    return bad;
}

/* The rows, each in a new process image: a fork alone would share its parent's pages. */
static int run_all(const char *self, char *bare_kb) {
    int bad = 0;
    printf("%-12s %-14s %-15s %-8s %s\n", "first call", "before (limit)", "  after (limit)",
           " threads", "descriptors");
    for (int i = 0; i < ROWS; i++) {
        int status = -1;
        pid_t id;
        fflush(stdout);
        id = fork();
        if (id == 0) {
            char number[12];
            snprintf(number, sizeof number, "%d", i);
            execl(self, self, bare_kb, number, (char *)NULL);
            _exit(127);
        }
        waitpid(id, &status, 0);
        bad |= status != 0;
    }
    return bad;
}

int main(int count, char **arguments) {
    if (count == 3) {
        return run_row(&rows[atoi(arguments[2]) % ROWS], atol(arguments[1]));
    }
    if (count != 2) {
        fprintf(stderr, "usage: footprint KB-OF-A-BARE-PROCESS\n");
        return 2;
    }
    return run_all(arguments[0], arguments[1]);
}

#endif
