// Configured page overlays per paper tray.
#pragma once

void ps_overlay();
