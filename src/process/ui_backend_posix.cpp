// The user-interface backend on POSIX systems: GTK 3, loaded at run time.
//
// The library does not link GTK. The first window it needs loads
// "libgtk-3.so.0" with dlopen, binds the few functions below by name and
// calls gtk_init_check; without DISPLAY or WAYLAND_DISPLAY nothing is even
// loaded. The outcome is kept for the process: a library without a main
// loop cannot wait for a display to appear later. GTK is never unloaded
// (it cannot be), and a host that is itself a GTK application shares its
// already initialised GTK with the library.
//
// GTK is not thread-safe: the thread that initialised it is the only one
// that uses it (see ui_backend.h).

#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "platform/utf.h"
#include "process/ui_backend.h"

namespace kel::detail::ui {

namespace {

// ----- the parts of the GTK, GDK and GLib interfaces the backend uses ------
//
// Declared here by hand so that no GTK headers are needed to build the
// library. Objects are opaque; the enumerations carry GTK 3's values.

using gboolean = int;
using gint64 = int64_t;
struct GtkWidget;
struct GdkWindow;
struct GdkDisplay;
struct GdkScreen;
struct GdkFrameClock;
struct GtkCssProvider;
struct GtkStyleProvider;
struct GTypeClass {
    size_t gType;
};
struct GTypeInstance {
    GTypeClass* gClass;
};

constexpr int kGtkWindowToplevel = 0;
constexpr int kGtkWinPosCenter = 1;
constexpr int kGtkDialogModal = 1;
constexpr int kGtkMessageInfo = 0;
constexpr int kGtkMessageWarning = 1;
constexpr int kGtkMessageQuestion = 2;
constexpr int kGtkMessageError = 3;
constexpr int kGtkMessageOther = 4;
constexpr int kGtkButtonsNone = 0;
constexpr int kGtkIconSizeDialog = 6;
constexpr int kGtkShadowIn = 1;
constexpr int kGtkShadowOut = 2;
constexpr int kGdkWindowTypeHintDialog = 1;
constexpr int kGtkResponseNone = -1;
constexpr int kGtkResponseDeleteEvent = -4;
constexpr unsigned int kGtkStyleProviderPriorityApplication = 600;

struct Gtk {
    void (*disable_setlocale)();
    gboolean (*init_check)(int*, char***);
    gboolean (*events_pending)();
    gboolean (*main_iteration_do)(gboolean);

    GtkWidget* (*window_new)(int);
    void (*window_set_title)(GtkWidget*, const char*);
    void (*window_set_decorated)(GtkWidget*, gboolean);
    void (*window_set_resizable)(GtkWidget*, gboolean);
    void (*window_set_deletable)(GtkWidget*, gboolean);
    void (*window_set_position)(GtkWidget*, int);
    void (*window_set_type_hint)(GtkWidget*, int);
    void (*window_set_keep_above)(GtkWidget*, gboolean);
    void (*window_set_transient_for)(GtkWidget*, GtkWidget*);
    void (*window_present)(GtkWidget*);
    void (*window_set_titlebar)(GtkWidget*, GtkWidget*);
    GtkWidget* (*header_bar_new)();
    void (*header_bar_set_title)(GtkWidget*, const char*);
    void (*header_bar_set_show_close_button)(GtkWidget*, gboolean);

    GtkWidget* (*message_dialog_new)(GtkWidget*, int, int, int, const char*, ...);
    void (*message_dialog_set_image)(GtkWidget*, GtkWidget*);
    GtkWidget* (*image_new_from_icon_name)(const char*, int);
    GtkWidget* (*dialog_add_button)(GtkWidget*, const char*, int);
    void (*dialog_set_default_response)(GtkWidget*, int);
    int (*dialog_run)(GtkWidget*);

    void (*widget_destroy)(GtkWidget*);
    void (*widget_show)(GtkWidget*);
    void (*widget_show_all)(GtkWidget*);
    void (*widget_set_size_request)(GtkWidget*, int, int);
    void (*widget_set_name)(GtkWidget*, const char*);
    void (*widget_grab_focus)(GtkWidget*);
    void (*widget_queue_draw)(GtkWidget*);
    gboolean (*widget_get_mapped)(GtkWidget*);
    GdkWindow* (*widget_get_window)(GtkWidget*);

    GtkWidget* (*fixed_new)();
    void (*fixed_put)(GtkWidget*, GtkWidget*, int, int);
    void (*container_add)(GtkWidget*, GtkWidget*);
    GtkWidget* (*frame_new)(const char*);
    void (*frame_set_shadow_type)(GtkWidget*, int);
    GtkWidget* (*label_new)(const char*);
    void (*label_set_text)(GtkWidget*, const char*);
    const char* (*label_get_text)(GtkWidget*);
    GtkWidget* (*progress_bar_new)();
    void (*progress_bar_set_fraction)(GtkWidget*, double);
    double (*progress_bar_get_fraction)(GtkWidget*);

    GtkCssProvider* (*css_provider_new)();
    gboolean (*css_provider_load_from_data)(GtkCssProvider*, const char*, long, void**);
    void (*style_context_add_provider_for_screen)(GdkScreen*, GtkStyleProvider*, unsigned int);

    GdkDisplay* (*gdk_display_get_default)();
    GdkScreen* (*gdk_screen_get_default)();
    void (*gdk_display_flush)(GdkDisplay*);
    GdkFrameClock* (*gdk_window_get_frame_clock)(GdkWindow*);
    gint64 (*gdk_frame_clock_get_frame_counter)(GdkFrameClock*);
    const char* (*g_type_name)(size_t);
    unsigned long (*g_signal_connect_data)(void*, const char*, void (*)(), void*, void*, int);
    gboolean (*widget_hide_on_delete)(GtkWidget*);
    // Optional: only GDK's X11 backend has it.
    unsigned long (*gdk_x11_window_get_xid)(GdkWindow*);
};

template <typename F>
bool bind(void* library, const char* name, F& function) {
    function = reinterpret_cast<F>(dlsym(library, name));
    return function != nullptr;
}

bool bindAll(void* l, Gtk& g) {
    return bind(l, "gtk_disable_setlocale", g.disable_setlocale) &&
           bind(l, "gtk_init_check", g.init_check) &&
           bind(l, "gtk_events_pending", g.events_pending) &&
           bind(l, "gtk_main_iteration_do", g.main_iteration_do) &&
           bind(l, "gtk_window_new", g.window_new) &&
           bind(l, "gtk_window_set_title", g.window_set_title) &&
           bind(l, "gtk_window_set_decorated", g.window_set_decorated) &&
           bind(l, "gtk_window_set_resizable", g.window_set_resizable) &&
           bind(l, "gtk_window_set_deletable", g.window_set_deletable) &&
           bind(l, "gtk_window_set_position", g.window_set_position) &&
           bind(l, "gtk_window_set_type_hint", g.window_set_type_hint) &&
           bind(l, "gtk_window_set_keep_above", g.window_set_keep_above) &&
           bind(l, "gtk_window_set_transient_for", g.window_set_transient_for) &&
           bind(l, "gtk_window_present", g.window_present) &&
           bind(l, "gtk_window_set_titlebar", g.window_set_titlebar) &&
           bind(l, "gtk_header_bar_new", g.header_bar_new) &&
           bind(l, "gtk_header_bar_set_title", g.header_bar_set_title) &&
           bind(l, "gtk_header_bar_set_show_close_button", g.header_bar_set_show_close_button) &&
           bind(l, "gtk_message_dialog_new", g.message_dialog_new) &&
           bind(l, "gtk_message_dialog_set_image", g.message_dialog_set_image) &&
           bind(l, "gtk_image_new_from_icon_name", g.image_new_from_icon_name) &&
           bind(l, "gtk_dialog_add_button", g.dialog_add_button) &&
           bind(l, "gtk_dialog_set_default_response", g.dialog_set_default_response) &&
           bind(l, "gtk_dialog_run", g.dialog_run) &&
           bind(l, "gtk_widget_destroy", g.widget_destroy) &&
           bind(l, "gtk_widget_show", g.widget_show) &&
           bind(l, "gtk_widget_show_all", g.widget_show_all) &&
           bind(l, "gtk_widget_set_size_request", g.widget_set_size_request) &&
           bind(l, "gtk_widget_set_name", g.widget_set_name) &&
           bind(l, "gtk_widget_grab_focus", g.widget_grab_focus) &&
           bind(l, "gtk_widget_queue_draw", g.widget_queue_draw) &&
           bind(l, "gtk_widget_get_mapped", g.widget_get_mapped) &&
           bind(l, "gtk_widget_get_window", g.widget_get_window) &&
           bind(l, "gtk_fixed_new", g.fixed_new) && bind(l, "gtk_fixed_put", g.fixed_put) &&
           bind(l, "gtk_container_add", g.container_add) && bind(l, "gtk_frame_new", g.frame_new) &&
           bind(l, "gtk_frame_set_shadow_type", g.frame_set_shadow_type) &&
           bind(l, "gtk_label_new", g.label_new) &&
           bind(l, "gtk_label_set_text", g.label_set_text) &&
           bind(l, "gtk_label_get_text", g.label_get_text) &&
           bind(l, "gtk_progress_bar_new", g.progress_bar_new) &&
           bind(l, "gtk_progress_bar_set_fraction", g.progress_bar_set_fraction) &&
           bind(l, "gtk_progress_bar_get_fraction", g.progress_bar_get_fraction) &&
           bind(l, "gtk_css_provider_new", g.css_provider_new) &&
           bind(l, "gtk_css_provider_load_from_data", g.css_provider_load_from_data) &&
           bind(l, "gtk_style_context_add_provider_for_screen",
                g.style_context_add_provider_for_screen) &&
           bind(l, "gdk_display_get_default", g.gdk_display_get_default) &&
           bind(l, "gdk_screen_get_default", g.gdk_screen_get_default) &&
           bind(l, "gdk_display_flush", g.gdk_display_flush) &&
           bind(l, "gdk_window_get_frame_clock", g.gdk_window_get_frame_clock) &&
           bind(l, "gdk_frame_clock_get_frame_counter", g.gdk_frame_clock_get_frame_counter) &&
           bind(l, "g_type_name", g.g_type_name) &&
           bind(l, "g_signal_connect_data", g.g_signal_connect_data) &&
           bind(l, "gtk_widget_hide_on_delete", g.widget_hide_on_delete);
}

// ----- the toolkit's state for the process ----------------------------------

struct ProgressDialog {
    GtkWidget* window = nullptr;
    GtkWidget* title = nullptr;
    GtkWidget* percent = nullptr;
    GtkWidget* bar = nullptr;
};

struct Toolkit {
    std::mutex mutex;  // guards the one-time loading only
    bool settled = false;
    bool usable = false;
    std::thread::id owner;
    Gtk gtk = {};
    bool x11 = false;
    // Never shown: the parent that keeps GTK from complaining about dialogs
    // without one, as Windows gives owner-less boxes a hidden owner.
    GtkWidget* hiddenOwner = nullptr;
    ProgressDialog progress;
};

Toolkit& toolkit() {
    static Toolkit* instance = new Toolkit;  // never destroyed: GTK outlives static destructors
    return *instance;
}

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && value[0] != '\0')
            return true;
    }
    return false;
}

// Makes the bar as tall as its place in the layout (GTK themes draw a thin
// line by default). Scoped to the dialog's own widget names, so that a host
// that uses GTK itself keeps its look.
constexpr const char* kProgressCss =
    "#kel-progress-bar trough, #kel-progress-bar progress { min-height: 18px; }\n"
    "#kel-progress-percent { padding: 0 4px; }\n";

void settle(Toolkit& t) {
    t.settled = true;
    if (!hasDisplay())
        return;
    void* library = dlopen("libgtk-3.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return;
    Gtk& g = t.gtk;
    if (!bindAll(library, g))
        return;
    bind(library, "gdk_x11_window_get_xid", g.gdk_x11_window_get_xid);
    // A host that is a GTK application has opened the display already.
    if (g.gdk_display_get_default() == nullptr) {
        // The host's locale is its own: GTK would call setlocale(LC_ALL, "").
        g.disable_setlocale();
        if (!g.init_check(nullptr, nullptr))
            return;
    }
    GdkDisplay* display = g.gdk_display_get_default();
    if (display == nullptr)
        return;
    const auto* instance = reinterpret_cast<const GTypeInstance*>(display);
    const char* type = g.g_type_name(instance->gClass->gType);
    t.x11 = type != nullptr && std::string(type) == "GdkX11Display";
    t.hiddenOwner = g.window_new(kGtkWindowToplevel);
    GtkCssProvider* css = g.css_provider_new();
    if (g.css_provider_load_from_data(css, kProgressCss, -1, nullptr))
        g.style_context_add_provider_for_screen(g.gdk_screen_get_default(),
                                                reinterpret_cast<GtkStyleProvider*>(css),
                                                kGtkStyleProviderPriorityApplication);
    t.owner = std::this_thread::get_id();
    t.usable = true;
}

// The toolkit when the calling thread may use it, else null.
Toolkit* usableToolkit() {
    Toolkit& t = toolkit();
    {
        std::lock_guard<std::mutex> lock(t.mutex);
        if (!t.settled)
            settle(t);
    }
    if (!t.usable || t.owner != std::this_thread::get_id())
        return nullptr;
    return &t;
}

std::string utf8(const wchar_t* text) {
    return wideToUtf8(std::wstring_view(text != nullptr ? text : L""));
}

// Handles whatever the window system has sent.
void drainEvents(const Gtk& g) {
    while (g.events_pending())
        g.main_iteration_do(0);
}

// The library has no main loop: after each change to a window it runs the
// loop itself until the window has painted `frames` new frames (or a short
// while has passed, for a window that is not on screen), so that what the
// user sees follows every call. `window` is read again after each round of
// events: the window system may have destroyed the window meanwhile.
void repaint(const Gtk& g, GtkWidget* const& window, int frames) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(500);
    GdkFrameClock* clock = nullptr;
    if (GdkWindow* w = g.widget_get_window(window))
        clock = g.gdk_window_get_frame_clock(w);
    const gint64 start = clock != nullptr ? g.gdk_frame_clock_get_frame_counter(clock) : 0;
    g.widget_queue_draw(window);
    for (;;) {
        drainEvents(g);
        if (window == nullptr || clock == nullptr ||
            g.gdk_frame_clock_get_frame_counter(clock) - start >= frames ||
            Clock::now() >= deadline)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    g.gdk_display_flush(g.gdk_display_get_default());
}

// ----- message boxes -------------------------------------------------------

struct Button {
    const char* label;
    int result;
};

// The buttons of a box type, in the order Windows shows them.
int buttonsOf(unsigned int style, Button (&buttons)[3]) {
    switch (style & MB_TYPEMASK) {
        case MB_OKCANCEL:
            buttons[0] = {"_OK", IDOK};
            buttons[1] = {"_Cancel", IDCANCEL};
            return 2;
        case MB_ABORTRETRYIGNORE:
            buttons[0] = {"_Abort", IDABORT};
            buttons[1] = {"_Retry", IDRETRY};
            buttons[2] = {"_Ignore", IDIGNORE};
            return 3;
        case MB_YESNOCANCEL:
            buttons[0] = {"_Yes", IDYES};
            buttons[1] = {"_No", IDNO};
            buttons[2] = {"_Cancel", IDCANCEL};
            return 3;
        case MB_YESNO:
            buttons[0] = {"_Yes", IDYES};
            buttons[1] = {"_No", IDNO};
            return 2;
        case MB_RETRYCANCEL:
            buttons[0] = {"_Retry", IDRETRY};
            buttons[1] = {"_Cancel", IDCANCEL};
            return 2;
        case MB_CANCELTRYCONTINUE:
            buttons[0] = {"_Cancel", IDCANCEL};
            buttons[1] = {"_Try Again", IDTRYAGAIN};
            buttons[2] = {"_Continue", IDCONTINUE};
            return 3;
        default:  // MB_OK and unknown types, as Windows treats them
            buttons[0] = {"_OK", IDOK};
            return 1;
    }
}

// What closing the box (Escape, the window's close button) answers, as on
// Windows: Cancel where the box has it, OK for a box with OK alone; 0 where
// the box cannot be closed that way.
int closeResult(const Button* buttons, int count) {
    if (count == 1)
        return buttons[0].result;
    for (int i = 0; i < count; ++i) {
        if (buttons[i].result == IDCANCEL)
            return IDCANCEL;
    }
    return 0;
}

struct Icon {
    int messageType;
    const char* name;
};

Icon iconOf(unsigned int style) {
    switch (style & MB_ICONMASK) {
        case MB_ICONHAND:
            return {kGtkMessageError, "dialog-error"};
        case MB_ICONQUESTION:
            return {kGtkMessageQuestion, "dialog-question"};
        case MB_ICONEXCLAMATION:
            return {kGtkMessageWarning, "dialog-warning"};
        case MB_ICONASTERISK:
            return {kGtkMessageInfo, "dialog-information"};
        default:
            return {kGtkMessageOther, nullptr};
    }
}

}  // namespace

bool available() {
    return usableToolkit() != nullptr;
}

int messageBox(HWND, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    // The owner is a host window handle that GTK cannot use; the box is
    // centred on the screen instead.
    Toolkit* t = usableToolkit();
    if (t == nullptr)
        return -1;
    const Gtk& g = t->gtk;
    Button buttons[3];
    const int count = buttonsOf(style, buttons);
    const int onClose = closeResult(buttons, count);
    const Icon icon = iconOf(style);

    GtkWidget* dialog = g.message_dialog_new(t->hiddenOwner, kGtkDialogModal, icon.messageType,
                                             kGtkButtonsNone, "%s", utf8(text).c_str());
    const std::string title = utf8(caption);
    g.window_set_title(dialog, title.c_str());
    // The title bar is drawn by GTK itself, so that the caption shows on
    // every desktop, with or without a window manager.
    GtkWidget* titleBar = g.header_bar_new();
    g.header_bar_set_title(titleBar, title.c_str());
    g.header_bar_set_show_close_button(titleBar, onClose != 0);
    g.widget_show(titleBar);
    g.window_set_titlebar(dialog, titleBar);
    g.window_set_position(dialog, kGtkWinPosCenter);
    if (icon.name != nullptr) {
        GtkWidget* image = g.image_new_from_icon_name(icon.name, kGtkIconSizeDialog);
        g.widget_show(image);
        g.message_dialog_set_image(dialog, image);
    }
    GtkWidget* widgets[3] = {};
    for (int i = 0; i < count; ++i)
        widgets[i] = g.dialog_add_button(dialog, buttons[i].label, buttons[i].result);
    // MB_DEFBUTTON1..3; one the box does not have means the first, as on Windows.
    int defaultButton = static_cast<int>((style & MB_DEFMASK) >> 8);
    if (defaultButton >= count)
        defaultButton = 0;
    g.dialog_set_default_response(dialog, buttons[defaultButton].result);
    g.widget_grab_focus(widgets[defaultButton]);
    if (onClose == 0)
        g.window_set_deletable(dialog, 0);
    if (style & MB_TOPMOST)
        g.window_set_keep_above(dialog, 1);
    if (style & MB_SETFOREGROUND)
        g.window_present(dialog);

    int result = 0;
    for (;;) {
        const int response = g.dialog_run(dialog);
        if (response > 0) {
            result = response;
            break;
        }
        if (response == kGtkResponseNone) {
            // Destroyed from outside while it ran: answered as a close.
            drainEvents(g);
            return onClose;
        }
        if (response == kGtkResponseDeleteEvent && onClose != 0) {
            result = onClose;
            break;
        }
        // A box without Cancel (Yes/No, Abort/Retry/Ignore) stays up.
    }
    g.widget_destroy(dialog);
    drainEvents(g);
    g.gdk_display_flush(g.gdk_display_get_default());
    return result;
}

// ----- the progress dialog ---------------------------------------------------
//
// Laid out like dialog resource 101 at the common 96 dpi size of its font,
// where a dialog unit is 1.75 pixels across and 2 down: 169 x 48 units is
// about 296 x 96 pixels, widened to 310 so that the bar (pixels 10 to 300)
// has the same margin on both sides. No caption; a thin raised frame
// stands for the modal frame.

namespace {

constexpr int kDialogWidth = 310;
constexpr int kDialogHeight = 96;

// The dialog's window was destroyed (by the library, or from outside by the
// window system): the process no longer has a dialog.
void forgetDialog(GtkWidget*, void* dialog) {
    *static_cast<ProgressDialog*>(dialog) = ProgressDialog();
}

GtkWidget* placedLabel(const Gtk& g, GtkWidget* fixed, const char* text, int x, int y, int width,
                       int height) {
    GtkWidget* label = g.label_new(text);
    g.widget_set_size_request(label, width, height);
    g.fixed_put(fixed, label, x, y);
    return label;
}

}  // namespace

bool createProgressDialog() {
    Toolkit* t = usableToolkit();
    if (t == nullptr)
        return false;
    destroyProgressDialog();
    const Gtk& g = t->gtk;
    ProgressDialog& d = t->progress;

    d.window = g.window_new(kGtkWindowToplevel);
    g.widget_set_name(d.window, "kel-progress-dialog");
    g.window_set_title(d.window, utf8(kProgressInitialTitle).c_str());
    g.window_set_decorated(d.window, 0);
    g.window_set_resizable(d.window, 0);
    g.window_set_type_hint(d.window, kGdkWindowTypeHintDialog);
    g.window_set_position(d.window, kGtkWinPosCenter);
    // Closing it from the desktop (Alt+F4) hides it, as ending the Windows
    // dialog does; it is destroyed only by the library.
    g.g_signal_connect_data(d.window, "delete-event",
                            reinterpret_cast<void (*)()>(g.widget_hide_on_delete), nullptr, nullptr,
                            0);
    g.g_signal_connect_data(d.window, "destroy", reinterpret_cast<void (*)()>(forgetDialog), &d,
                            nullptr, 0);

    GtkWidget* frame = g.frame_new(nullptr);
    g.frame_set_shadow_type(frame, kGtkShadowOut);
    g.container_add(d.window, frame);
    GtkWidget* fixed = g.fixed_new();
    g.widget_set_size_request(fixed, kDialogWidth, kDialogHeight);
    g.container_add(frame, fixed);

    // Title line (1002): 7, 4, 158 x 8 units, centred across the dialog.
    d.title = placedLabel(g, fixed, utf8(kProgressInitialTitle).c_str(), 10, 8, 290, 16);
    // Percentage (1003): 46, 32, 78 x 8 units, centred and sunken.
    GtkWidget* sunken = g.frame_new(nullptr);
    g.frame_set_shadow_type(sunken, kGtkShadowIn);
    g.widget_set_size_request(sunken, 136, 18);
    g.fixed_put(fixed, sunken, (kDialogWidth - 136) / 2, 66);
    d.percent = g.label_new("");
    g.widget_set_name(d.percent, "kel-progress-percent");
    g.container_add(sunken, d.percent);
    // The bar (1001): pixels 10, 40 to 300, 60, range 0 to 100 at 0.
    d.bar = g.progress_bar_new();
    if (d.bar != nullptr) {
        g.widget_set_name(d.bar, "kel-progress-bar");
        g.widget_set_size_request(d.bar, 290, 20);
        g.fixed_put(fixed, d.bar, 10, 40);
        g.progress_bar_set_fraction(d.bar, 0.0);
    }

    g.widget_show_all(d.window);
    repaint(g, d.window, 2);
    if (d.window != nullptr && d.bar == nullptr)
        showBarNotCreated();
    return d.window != nullptr;
}

void destroyProgressDialog() {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr)
        return;
    t->gtk.widget_destroy(t->progress.window);  // forgetDialog clears t->progress
    drainEvents(t->gtk);
    t->gtk.gdk_display_flush(t->gtk.gdk_display_get_default());
}

bool progressDialogExists() {
    Toolkit* t = usableToolkit();
    return t != nullptr && t->progress.window != nullptr;
}

void setProgressTitle(const wchar_t* title) {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr)
        return;
    const std::string text = utf8(title);
    t->gtk.label_set_text(t->progress.title, text.c_str());
    // The window's name is its title line, so that it can be found by it.
    t->gtk.window_set_title(t->progress.window, text.c_str());
    repaint(t->gtk, t->progress.window, 1);
}

void setProgressPercent(int percent) {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr)
        return;
    const int clamped = percent < 0 ? 0 : (percent > 100 ? 100 : percent);
    if (t->progress.bar != nullptr)
        t->gtk.progress_bar_set_fraction(t->progress.bar, clamped / 100.0);
    const std::string text = std::to_string(percent) + "%";
    t->gtk.label_set_text(t->progress.percent, text.c_str());
    repaint(t->gtk, t->progress.window, 1);
}

std::wstring progressItemText(int id) {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr)
        return std::wstring();
    GtkWidget* label = id == kProgressTitleId     ? t->progress.title
                       : id == kProgressPercentId ? t->progress.percent
                                                  : nullptr;
    if (label == nullptr)
        return std::wstring();
    return utf8ToWide(std::string_view(t->gtk.label_get_text(label)));
}

int progressBarPosition() {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr)
        return -1;
    if (t->progress.bar == nullptr)
        return 0;
    return static_cast<int>(t->gtk.progress_bar_get_fraction(t->progress.bar) * 100.0 + 0.5);
}

unsigned long progressWindowId() {
    Toolkit* t = usableToolkit();
    if (t == nullptr || t->progress.window == nullptr || !t->x11 ||
        t->gtk.gdk_x11_window_get_xid == nullptr)
        return 0;
    GdkWindow* window = t->gtk.widget_get_window(t->progress.window);
    return window != nullptr ? t->gtk.gdk_x11_window_get_xid(window) : 0;
}

}  // namespace kel::detail::ui
