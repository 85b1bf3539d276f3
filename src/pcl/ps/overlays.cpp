#include "pcl/ps/overlays.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common/numeric.h"
#include "config_store.h"
#include "pcl/ps/document.h"
#include "pcl/ps/eps.h"
#include "pcl/ps/writer.h"

namespace {

// Whether an ONPAGE selector picks output page `page`.
bool page_selected(char const* sel, int page)
{
    if (sel[0] == '!')
        return page != config_int(sel + 1);
    if (sel[0] == '>')
        return page > config_int(sel + 1);
    if (std::isdigit(static_cast<unsigned char>(sel[0])))
        return page == config_int(sel);
    if (std::strcmp(sel, "even") == 0)
        return page % 2 == 0;
    if (std::strcmp(sel, "odd") == 0)
        return page % 2 != 0;
    return true;
}

// One EPS.FILE item with the settings that follow it.
struct overlay_group {
    bool open = false;
    std::string path;
    int xofs = 0;  // decipoints
    int yofs = 0;
    int scale = 0;
    int align = 0;
    bool selected = true;

    void start(char const* file)
    {
        *this = overlay_group{};
        open = true;
        path = file;
    }

    void draw() const
    {
        if (open && selected)
            ps_include_eps_file(xofs / 10, yofs / 10, path.c_str(), scale, align);
    }
};

}  // namespace

void ps_overlay()
{
    if (!ps_out_ready())
        return;
    char section[32];
    std::snprintf(section, sizeof section, "TRAY%d", ps_tray);

    overlay_group group;
    char const* item = nullptr;
    int index = 0;
    while (char const* value = config_enum_section(section, &item, &index)) {
        if (std::strcmp(item, "EPS.FILE") == 0) {
            group.draw();
            group.start(value);
        } else if (std::strcmp(item, "XOFS") == 0) {
            group.xofs = config_int(value);
        } else if (std::strcmp(item, "YOFS") == 0) {
            group.yofs = config_int(value);
        } else if (std::strcmp(item, "SCALE") == 0) {
            group.scale = config_int(value);
        } else if (std::strcmp(item, "ALIGN") == 0) {
            group.align = config_int(value);
        } else if (std::strcmp(item, "ONPAGE") == 0) {
            if (group.open && !page_selected(value, ps_page_counter))
                group.selected = false;
        } else if (std::strcmp(item, "PS") == 0) {
            ps_put("% --BEGIN PS\nsave\n");
            ps_put(value);
            ps_put("\nrestore\n% --END PS\n");
        }
    }
    group.draw();
}
