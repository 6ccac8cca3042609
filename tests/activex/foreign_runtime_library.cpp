extern "C" {
__declspec(dllexport) void __register_frame_info(const void*, void*) {}
__declspec(dllexport) void* __deregister_frame_info(const void*) { return nullptr; }
}
