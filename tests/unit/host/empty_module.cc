// A module that forgot its entry point.
extern "C" int VXX_Wrong() { return 0; }
