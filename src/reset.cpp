#include "reset.h"

#include "config_store.h"
#include "ghostscript.h"
#include "output_file.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/ps/document.h"
#include "pcl/ps/eps.h"
#include "pcl/raster.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

void tarvo_reset()
{
    // The interpreter is waited for before the stream it wrote to goes.
    gs_reset();
    out_file_reset();
    run_mode_reset();
    config_clear();
    input_reset();
    escape_parser_reset();
    environment_reset();
    fonts_reset();
    macros_reset();
    cbuf_reset();
    raster_reset();
    raster_set_draw_base(RASTER_DRAW_BASE);
    ps_document_reset();
    eps_reset();
}
