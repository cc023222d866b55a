/* Puts a text into the cheapest quoted form for an AT command, and reads it back. */

#include <stdio.h>
#include <string.h>

#include "hearth/cl_convertor.h"
#include "hearth/cl_xcodec.h"

enum { ROOM = 256 };

int main(int count, char **arguments) {
    const char *text = count > 1 ? arguments[1] : "";
    const cl_codecProfile profile = {0, 1};
    static const char *const kCodings[] = {"septets", "UCS-2", "8-bit"};
    uint16_t wide[ROOM];
    uint16_t back[ROOM];
    char quoted[4 * ROOM];
    char utf8[4 * ROOM];
    uint32_t coding = 0;
    uint32_t length = ROOM - 1;
    uint32_t quoted_length = sizeof quoted - 2;
    uint32_t back_length = ROOM - 1;
    uint32_t utf8_length = sizeof utf8 - 1;
    if (cl_utf8ToUCS2(text, (uint32_t)strlen(text), wide, &length) != 0 ||
        cl_encodeData(&coding, wide, length, quoted, &quoted_length, &profile) != 0) {
        fputs("not a text that an AT command can carry\n", stderr);
        return 1;
    }
    printf("%s as %s\n", quoted, kCodings[coding]);
    /* Without the two quotation marks. */
    if (cl_decodeData(coding, quoted + 1, quoted_length - 2, back, &back_length) != 0 ||
        cl_ucs2ToUTF8(back, back_length, utf8, &utf8_length) != 0) {
        fputs("the quoted text cannot be read back\n", stderr);
        return 1;
    }
    utf8[utf8_length] = '\0';
    printf("back: %s\n", utf8);
    return strcmp(text, utf8) == 0 ? 0 : 1;
}
