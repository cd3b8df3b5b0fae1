// A library that has part of the web engine's functions: those that tests of missing ones need.

extern "C" {

void wkeInitializeEx(const void *) { }

#ifdef WITH_WINDOWS
void *wkeCreateWebWindow(int, void *, int, int, int, int)
{
    static int view;
    return &view;
}
#endif

} // extern "C"
