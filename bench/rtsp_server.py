# An RTSP server for the comparison with ffmpeg: rtsp_server.py PORT CLIP serves an MPEG-TS file with H.264 as rtsp://127.0.0.1:PORT/live.
# Debian: python3-gi gir1.2-gst-rtsp-server-1.0 gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer

Gst.init(None)
server = GstRtspServer.RTSPServer()
server.set_address("127.0.0.1")
server.set_service(sys.argv[1])
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(f"( filesrc location={sys.argv[2]} ! tsdemux ! h264parse ! rtph264pay name=pay0 pt=96 )")
server.get_mount_points().add_factory("/live", factory)
server.attach(None)
GLib.MainLoop().run()
