// Build-time helper: ostrelle-art-tiff IN.png OUT.tiff. Exits non-zero on any failure.
#include <gtk/gtk.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s IN.png OUT.tiff\n", argv[0]);
        return 2;
    }
    GError* error = nullptr;
    GFile* in = g_file_new_for_path(argv[1]);
    GdkTexture* texture = gdk_texture_new_from_file(in, &error);
    g_object_unref(in);
    if (!texture) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error->message);
        g_error_free(error);
        return 1;
    }
    const bool saved = gdk_texture_save_to_tiff(texture, argv[2]);
    g_object_unref(texture);
    if (!saved) std::fprintf(stderr, "%s: cannot write\n", argv[2]);
    return saved ? 0 : 1;
}
