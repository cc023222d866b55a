// The life of the user data tree: first boot, factory restore, and what they leave behind.
//
// A new tree is built in userdata1 and swapped in by two renames. The finish flag inside the live
// tree says that it is complete; the start flag, that a first-boot copy was not.

#include "base/text.h"
#include "config/src/global_config.h"
#include "hearth/osa_file.h"
#include "hearth/osa_pthread.h"

using hearth::allocate_zeroed;
using hearth::HeapBlock;
using hearth::Owned;
using hearth::config::hand_out;
using hearth::config::kGlobal;
using hearth::config::kPathSize;
using hearth::config::kUserData;
using hearth::config::Path;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr const char *kData = "/data/";
constexpr const char *kNextTree = "/data/userdata1/";
constexpr const char *kFactory = "/WebApp/common/factory/";
constexpr const char *kStartFlag = "/data/start.flag";
constexpr const char *kFinishFlag = "/data/userdata/finish.flag";
constexpr std::string_view kTreeName = "userdata";

using OpenDirectory = Owned<osa_dir_t, osa_closedir>;

// Makes an empty file.
bool create_flag(const char *path) {
    FILE *file = osa_fopen(path, "w");
    return file != nullptr && osa_fclose(file) == 0;
}

bool create_finish_flag(const char *path) {
    if (create_flag(path)) {
        HEARTH_LOG(OSA_LOG_INFO, "create flag file (%s) success.\n", path);
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "create flag file (%s) failed!\n", path);
    return false;
}

bool locate(Path &path, const char *logical) {
    if (path.start(logical)) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "get full path for (%s) failed!\n", logical);
    return false;
}

// The last copy was cut off: what it made goes.
void remove_cut_off_tree(const char *tree) {
    // Both are tried: a tree that cannot be walked may be empty, and then it can still go.
    bool emptied = remove_files(tree) == 0;
    if (osa_remove(tree) != 1 || !emptied) {
        HEARTH_LOG(OSA_LOG_ERROR, "remove path (%s) failed!\n", tree);
    }
}

int32_t copy_factory_tree(const char *tree, const char *flag) {
    HEARTH_LOG(OSA_LOG_DEBUG, "seems to be boot for the first time!\n");
    if (!create_flag(flag)) {
        HEARTH_LOG(OSA_LOG_ERROR, "create flag file (%s) failed!\n", flag);
    }
    Path factory;
    if (!locate(factory, kFactory)) {
        return -1;
    }
    if (cfg_copy_dir(factory.text(), tree) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "copy factory dir into (%s) failed!\n", tree);
        return -1;
    }
    if (osa_remove(flag) == 1) {
        HEARTH_LOG(OSA_LOG_DEBUG, "delete flag file (%s) success.\n", flag);
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "delete flag file (%s) failed!\n", flag);
    }
    return 0;
}

bool rename_tree(const char *from, const char *to) {
    if (osa_rename(from, to) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "renaming (%s) into (%s) failed!\n", from, to);
        return false;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "rename dir (%s) to (%s) success!\n", from, to);
    return true;
}

// The first free name for a replaced tree. The number 1 is that of the tree being built.
void free_generation(const char *live, char (&name)[kPathSize]) {
    osa_stat_t status;
    int number = 2;
    do {
        hearth::format_text(name, sizeof name, "%s%d", live, number++);
    } while (osa_stat(name, &status) == 0);
}

int32_t swap_trees() {
    Path live;
    Path next;
    if (!live.start(kUserData) || !next.start(kNextTree)) {
        return -1;
    }
    live.cut_slash();
    next.cut_slash();
    char old[kPathSize];
    free_generation(live.text(), old);
    if (!live.exists()) {
        HEARTH_LOG(OSA_LOG_DEBUG, "needn't to rename userdata since it doesn't exist.\n");
    } else if (!rename_tree(live.text(), old)) {
        return -1;
    }
    return rename_tree(next.text(), live.text()) ? 0 : -1;
}

int32_t complete_tree() {
    char flag[kPathSize];
    if (check_finish_flag_exist(flag, sizeof flag) != 0 || check_start_flag_exist() != 0 ||
        rename_dir() != 0) {
        return -1;
    }
    return create_finish_flag(flag) ? 0 : -1;
}

bool locate_for_restore(Path &path, const char *logical) {
    if (path.start(logical)) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "Get Full Path failed(%s)!\n", logical);
    return false;
}

// An empty directory for the tree that a restore builds.
bool provide_empty_tree(const char *logical) {
    Path bare;
    if (!bare.start(logical)) {
        return false;
    }
    bare.cut_slash();
    if (bare.exists()) {
        HEARTH_LOG(OSA_LOG_INFO, "cleaning files in dir [%s]!\n", bare.text());
        remove_files(bare.text());
        return true;
    }
    HEARTH_LOG(OSA_LOG_INFO, "mkpath [%s]!\n", bare.text());
    if (osa_mkdir(bare.text()) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "mkpath[%s] failed!\n", bare.text());
        return false;
    }
    return true;
}

void prepare_restore() {
    Path factory;
    Path flag;
    Path tree;
    if (!factory.start(kFactory) || !factory.exists()) {
        HEARTH_LOG(OSA_LOG_ERROR, "factory dir[%s] not exist!\n", kFactory);
        return;
    }
    if (!locate_for_restore(flag, kFinishFlag) || !locate_for_restore(factory, kFactory) ||
        !locate_for_restore(tree, kNextTree) || !provide_empty_tree(kNextTree)) {
        return;
    }
    if (cfg_copy_dir(factory.text(), tree.text()) != 0) {
        return;
    }
    // The commit of the restore: from here on the next boot swaps.
    if (osa_remove(flag.text()) == 1) {
        HEARTH_LOG(OSA_LOG_INFO, "remove file (finish.flag) success.\n");
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "remove file (finish.flag) failed!\n");
    }
}

void remove_generation(const char *path) {
    HEARTH_LOG(OSA_LOG_INFO, "----------  remove path (%s) start -----------!\n", path);
    remove_files(path);
    if (osa_remove(path) == 1) {
        HEARTH_LOG(OSA_LOG_INFO, "remove path (%s) success!\n", path);
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "remove path (%s) failed!\n", path);
    }
}

void remove_generations() {
    Path data;
    if (!data.start(kData)) {
        return;
    }
    OpenDirectory open(osa_opendir(data.text()));
    HeapBlock<osa_dirent_t> entry = allocate_zeroed<osa_dirent_t>(1);
    if (!open || !entry) {
        return;
    }
    while (osa_readdir_next(open.get(), entry.get()) == 1) {
        std::string_view name = entry->name;
        if (hearth::begins_with(name, kTreeName) && name.size() > kTreeName.size()) {
            Path path;
            if (path.append(data.text()).append(name).valid()) {
                remove_generation(path.text());
            }
        }
    }
}

}  // namespace

int32_t check_finish_flag_exist(char *out, uint32_t size) {
    Path flag;
    if (out == nullptr || !locate(flag, kFinishFlag) ||
        hand_out(flag.text(), out, &size) != CFG_OK) {
        return -1;
    }
    if (!flag.exists()) {
        return 0;
    }
    HEARTH_LOG(OSA_LOG_INFO, "finish.flag exists, skip restore.\n");
    return -1;
}

int32_t check_start_flag_exist(void) {
    Path tree;
    Path flag;
    if (!locate(tree, kNextTree) || !locate(flag, kStartFlag)) {
        return -1;
    }
    if (flag.exists()) {
        remove_cut_off_tree(tree.text());
    }
    return tree.exists() ? 0 : copy_factory_tree(tree.text(), flag.text());
}

int32_t rename_dir(void) {
    return swap_trees();
}

int32_t cl_copy_default_2_userdata(void) {
    HEARTH_LOG(OSA_LOG_DEBUG, "cl_copy_default_2_userdata in.\n");
    int32_t result = complete_tree();
    HEARTH_LOG(OSA_LOG_DEBUG, "cl_copy_default_2_userdata out.\n");
    return result;
}

void cl_resume_default_setting(void) {
    HEARTH_LOG(OSA_LOG_DEBUG, "cl_resume_default_setting in.\n");
    prepare_restore();
    HEARTH_LOG(OSA_LOG_DEBUG, "cl_resume_default_setting out.\n");
}

void *cfg_garbage_remover(void * /*argument*/) {
    HEARTH_LOG(OSA_LOG_DEBUG, "cfg_garbage_remover in.\n");
    remove_generations();
    HEARTH_LOG(OSA_LOG_DEBUG, "cfg_garbage_remover out.\n");
    return nullptr;
}

void cl_start_garbage_removal(void) {
    Path flag;
    // Without the flag the other trees may still be needed.
    if (!flag.start(kFinishFlag) || !flag.exists()) {
        return;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "creating thread for garbage removal.\n");
    if (osa_pthread_create("garbageRemover", 0, 0, cfg_garbage_remover, nullptr) == 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "create garbage remover failed!\n");
    }
}

int32_t init_config(void) {
    cl_copy_default_2_userdata();
    hearth::config::ensure_lock();
    char state[2];
    hearth::format_text(state, sizeof state, "%d", CFG_SIMST_IDLE);
    // Both outcomes are required to go out as errors.
    if (cfg_set_config(kGlobal, "sim_state", state) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "[init_config] initialize sim_state failed !\n");
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "[init_config] set sim_state to CFG_SIMST_IDLE (%s). \n", state);
    }
    return 0;
}
