"""The allowed directions, as scripts/check_includes holds them: which target may use what, and which third-party
library a name in LIBS or a header belongs to."""
import re
from collections import namedtuple

Row = namedtuple("Row", "folder own third")
GROUPS = {
    "Qt": "QtCore QtGui QtWidgets",
    "FFmpeg": "libavcodec libavdevice libavfilter libavformat libavutil libswresample libswscale",
}


def row(folder, own="", third=""):
    return Row(folder, frozenset(own.split()), frozenset(" ".join(GROUPS.get(n, n) for n in third.split()).split()))


CORES = "base link_core telemetry_core"
FLOORS = "base events config forms video_face input_face widgets"
SUBSYSTEMS = ("link", "telemetry", "pulse", "video", "map", "input", "analysis", "settings")

# Target: its folder, our targets and the libraries that it may use. "system" stands for what the operating system
# brings beside the standard library: files and sockets by number, threads of its own, windows.h.
LAW = {
    "base": row("base"),
    "oskel": row("oskel", "", "Asio system"),
    "tavrik_core": row("tavrik", "", "system"),
    "tavrik": row("tavrik", "tavrik_core", "FFmpeg GStreamer system"),
    "joystick_records": row("platform"),
    "platform": row("platform", "joystick_records", "X11 SDL system"),
    "link_core": row("link", "base"),
    "telemetry_core": row("telemetry", "base link_core"),
    "pulse_core": row("pulse", CORES),
    "video_core": row("video", CORES),
    "map_core": row("map", CORES),
    "input_core": row("input", f"{CORES} joystick_records"),
    "analysis_core": row("analysis", CORES),
    "settings_core": row("settings", CORES),
    # Numbers, queues and caches of the globe, that know no scene graph.
    "globe_core": row("globe"),
    "globe": row("globe", "globe_core", "OpenSceneGraph GDAL"),
    # What places a view of the globe in a widget, apart so that the rest of the globe stays free of Qt.
    "globe_view": row("globe", "globe globe_core", "OpenSceneGraph Qt"),
    "events": row("app/events", "base", "QtCore"),
    "config": row("app/config", "base", "QtCore"),
    "widgets": row("widgets", "platform", "Qt QtX11Extras"),
    "video_face": row("video", "base events widgets video_core", "Qt"),
    "input_face": row("input", "base events widgets", "Qt"),
    "forms": row("forms", "widgets video_face input_face", "Qt"),
    "panes": row("app/panes", "forms widgets", "Qt"),
    "link": row("link", f"{FLOORS} link_core oskel", "Qt QtNetwork QtSerialPort"),
    "telemetry": row("telemetry", f"{FLOORS} telemetry_core oskel", "Qt"),
    "pulse": row("pulse", f"{FLOORS} pulse_core", "Qt"),
    "video": row("video", f"{FLOORS} video_core tavrik oskel platform",
                 "Qt QtMultimedia SDL X11 libavutil libswscale"),
    "map": row("map", f"{FLOORS} map_core globe_core globe globe_view", "Qt OpenSceneGraph"),
    "input": row("input", f"{FLOORS} input_core platform", "Qt"),
    "analysis": row("analysis", f"{FLOORS} analysis_core", "Qt QtCharts"),
    "encoder_view_face": row("settings", "", "Qt"),
    # The page of the game controller shows the functions that input_core knows.
    "settings": row("settings", f"{FLOORS} settings_core input_core encoder_view_face platform", "Qt"),
    # A module beside the program: nobody links it.
    "encoder_view": row("settings", "encoder_view_face", "Qt QtWebEngine system"),
}
BELOW_STATION = " ".join(name for name in LAW if name != "encoder_view")
LAW["station"] = row("app", BELOW_STATION, "Qt")
LAW["sorvane"] = row("app", f"{BELOW_STATION} station", "Qt")
# The simulated pod shares nothing with the station, not even the ground.
LAW["sim_world"] = row("simulator/world")
LAW["sim_pod"] = row("simulator/pod", "sim_world")
LAW["sim_wire"] = row("simulator/wire", "sim_world sim_pod")
LAW["sim_mux"] = row("simulator/stream", "sim_world sim_pod sim_wire")
LAW["sim_stream"] = row("simulator/stream", "sim_world sim_pod sim_wire sim_mux",
                        "GStreamer FFmpeg encoders system")
LAW["sim_control"] = row("simulator", "sim_world sim_pod sim_wire sim_mux sim_stream", "system")
LAW["podsim"] = row("simulator", "sim_world sim_pod sim_wire sim_mux sim_stream sim_control", "system")
# Programs that only the build runs: what they make is read at run time.
LAW["earth_data"] = row("earth", "", "GDAL")
LAW["make_world"] = row("earth", "earth_data")
LAW["make_demo_area"] = row("earth", "earth_data sim_world sim_pod")
LAW["drone_model"] = row("earth", "", "OpenSceneGraph")
LAW["make_drone"] = row("earth", "drone_model", "OpenSceneGraph")
HUB = "korvath"

# What a name in LIBS stands for. PkgConfig::X stands for the modules of the pkg_check_modules(X ...) in its folder or
# above.
LIBRARIES = [
    (r"oskel_asio", "Asio"),
    (r"X11::\w+", "X11"),
    (r"\$\{OPENSCENEGRAPH_LIBRARIES\}|osg\w*", "OpenSceneGraph"),
    (r"GDAL::GDAL", "GDAL"),
    (r"Threads::Threads|util|dl|rt|ws2_32|mswsock|user32|advapi32|dbghelp|winmm|shell32|ole32", "system"),
]
MODULES = [
    (r"sdl2|SDL2_\w+", "SDL"),
    (r"(lib(?:av|sw)\w+)", r"\1"),
    (r"(?:gstreamer|glib|gobject|gio)-\S+", "GStreamer"),
    (r"x26[45]", "encoders"),
    (r"openscenegraph\S*|openthreads", "OpenSceneGraph"),
    (r"gdal", "GDAL"),
    (r"x11|xext|xtst|xi", "X11"),
]
HEADERS = [
    (r"asio(?:/.*|\.hpp)", "Asio"),
    (r"(lib(?:av|sw)\w+)/.*", r"\1"),
    (r"SDL(?:2/.*|[._].*)", "SDL"),
    (r"(?:osg\w*|OpenThreads)/.*", "OpenSceneGraph"),
    (r"(?:gdal|ogr|cpl|vrt)\w*\.h", "GDAL"),
    (r"(?:gst|gio|glib)/.*|glib(?:-object|-unix)?\.h", "GStreamer"),
    (r"x26[45]\.h", "encoders"),
    (r"X11/.*", "X11"),
    (r"(?:arpa|linux|net|netinet|sys)/.*|(?:dlfcn|elf|fcntl|iconv|ifaddrs|link|netdb|poll|pthread|pty|pwd|sched|termios"
     r"|ucontext|unistd)\.h|(?:dbghelp|mmsystem|psapi|shellapi|shlobj|tlhelp32|windows|winsock2|ws2tcpip)\.h", "system"),
    (r"[a-z_0-9]+|(?:assert|ctype|errno|float|inttypes|limits|locale|math|setjmp|signal|stdarg|stddef|stdint|stdio"
     r"|stdlib|string|time|wchar)\.h", "std"),
]
QT_MODULES = {
    "Core": "", "Gui": "Core", "Widgets": "Core Gui", "Network": "Core", "SerialPort": "Core",
    "Multimedia": "Core Gui Network", "Svg": "Core Gui Widgets", "X11Extras": "Core Gui", "Test": "Core",
    "Charts": "Core Gui Widgets", "WebEngine": "Core Gui Widgets Network",
}
# Qt's headers say their module by their name; one that no line here knows counts as Widgets, the most that is asked.
QT_HEADERS = [
    ("X11Extras", r"X11\w*"),
    ("SerialPort", r"SerialPort\w*"),
    ("Network", r"(?:Network|Tcp|Udp|Ssl|Host|Dns)\w+|AbstractSocket|Local(?:Server|Socket)"),
    ("Multimedia", r"(?:Audio|Camera|Media|Sound|Video)\w*"),
    ("Charts", r"Chart\w*|\w+Series|\w+Axis|Legend|LegendMarker"),
    ("WebEngine", r"Web(?:Engine|Channel)\w*"),
    ("Svg", r"Svg\w+"),
    ("Test", r"Test|SignalSpy"),
    ("Core", r"""
        AbstractEventDispatcher | AbstractNativeEventFilter | Abstract\w+Model | Atomic\w+ | BasicTimer |
        BitArray | Buffer | ByteArray\w* | Cache | Char | ChildEvent | CommandLine\w+ | CoreApplication |
        CryptographicHash | Data | DataStream | Date | DateTime | DeadlineTimer | Debug | Dir | DirIterator |
        DynamicPropertyChangeEvent | ElapsedTimer | Event | EventLoop | File | FileDevice | FileInfo |
        FileSystemWatcher | Flags | Hash | IODevice | Json\w+ | Latin1String | Library | Line | LineF | List |
        Locale | LockFile | LoggingCategory | Map | Margins | Meta(?:Object|Method|Enum|Property|Type) |
        Multi(?:Hash|Map) | Mutex | MutexLocker | Object | Pair | PluginLoader | Point | PointF | Pointer |
        Process | ProcessEnvironment | Queue | RandomGenerator | ReadWriteLock | Rect | RectF |
        RegularExpression | Resource | Runnable | SaveFile | Scope(?:Guard|dPointer|dValueRollback) | Semaphore
        | Set | Settings | SharedMemory | SharedPointer | SignalBlocker | SignalMapper | Size | SizeF |
        SocketNotifier | Stack | StandardPaths | StorageInfo | String | StringList\w* | StringView | SysInfo |
        TextBoundaryFinder | TextCodec | TextStream | Thread | ThreadPool | Time | TimeLine | TimeZone | Timer |
        TimerEvent | Translator | Url | UrlQuery | Uuid | Variant\w* | Vector | VersionNumber | WaitCondition |
        t | t?(?:Global|Math|Debug|Endian|Numeric|Algorithms)"""),
    ("Gui", r"""
        BackingStore | Bitmap | Brush | Clipboard | Color | Cursor | DesktopServices | Drag | Font |
        FontDatabase | FontInfo | FontMetrics\w* | GuiApplication | Icon | IconEngine | Image | ImageReader |
        ImageWriter | InputMethod | KeySequence | Matrix4x4 | Movie | OffscreenSurface |
        OpenGL(?:Context|Functions|Texture) | Paint\w+ | Palette | Pen | Picture | Pixmap | PixmapCache |
        Polygon | PolygonF | Quaternion | Region | Rgb | Rgba64 | Screen | StandardItem | StandardItemModel |
        StaticText | Surface | SurfaceFormat | SyntaxHighlighter | Text(?:Cursor|Document|Layout|Option) |
        Transform | Vector[234]D | Window | \w*Gradient | \w*Validator | (?:Close | ContextMenu | DragEnter |
        DragLeave | DragMove | Drop | Enter | Expose | Focus | Help | Hide | Hover | Input | InputMethod | Key |
        Mouse | Move | NativeGesture | Paint | PlatformSurface | Resize | Scroll | Shortcut | Show | StatusTip |
        Tablet | Touch | Wheel | WindowStateChange)Event"""),
]


def by_table(table, name):
    for pattern, library in table:
        match = re.fullmatch(pattern, name)
        if match:
            return match.expand(library)
    return None


def qt_module(header):
    """QtWidgets for QLabel, qlabel.h, QtWidgets/QLabel; None for what is no header of Qt."""
    folder = re.match(r"Qt([A-Z]\w*?)(?:Core|Widgets)?(?:/|$)", header)
    if folder and folder.group(1) in QT_MODULES:
        return f"Qt{folder.group(1)}"
    if not re.fullmatch(r"Q[A-Zt]\w*|q[a-z0-9]+\.h", header):
        return None
    name = header[1:].replace(".h", "")
    flags = re.VERBOSE | (re.IGNORECASE if header[0] == "q" else 0)
    return "Qt" + next((module for module, pattern in QT_HEADERS if re.fullmatch(pattern, name, flags)), "Widgets")


def with_brought(library):
    """A module of Qt brings those on which it stands."""
    return {library} | {f"Qt{name}" for name in QT_MODULES.get(library[2:], "").split()}
