/* What the daemon that boots first does: completes the user data tree, then cleans up behind it.
 * With the argument "restore" it asks for a factory restore at the next boot instead. */

#include <stdio.h>
#include <string.h>

#include "hearth/config.h"

int main(int count, char **arguments) {
    if (count > 1 && strcmp(arguments[1], "restore") == 0) {
        cl_resume_default_setting();
        puts("the next boot restores the factory settings");
        return 0;
    }
    init_config();
    cfg_garbage_remover(NULL);
    puts("configuration complete");
    return 0;
}
