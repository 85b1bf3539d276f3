#include "cups_filter.h"

int main(int argc, char** argv) { return cups_filter_main(argc, argv); }
