// A library with only some functions of the web engine, for the tests of missing functions.

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
