#!/usr/bin/env python3
"""Plays a video in a browser's own <video> element and prints what the page saw.

usage: play_in_browser.py BROWSER FILE.mp4 X Y

BROWSER is a Chromium that runs without a window. Prints one line of JSON: how the playback ended, the size,
the frames that were decoded and dropped, and the color of the pixel (X, Y) at the end.
"""

import http.server
import json
import os
import queue
import signal
import subprocess
import sys
import tempfile
import threading

DEADLINE_SECONDS = 90  # only decides how long a failure takes

PAGE = """<!doctype html><video id="video" muted></video><script>
const video = document.getElementById('video');
function tell(how) {
  const canvas = document.createElement('canvas');
  canvas.width = video.videoWidth;
  canvas.height = video.videoHeight;
  let pixel = [];
  if (video.videoWidth) {
    const context = canvas.getContext('2d');
    context.drawImage(video, 0, 0);
    pixel = Array.from(context.getImageData(%d, %d, 1, 1).data);
  }
  const quality = video.getVideoPlaybackQuality();
  fetch('/said', {method: 'POST', body: JSON.stringify({how, time: video.currentTime,
    width: video.videoWidth, height: video.videoHeight, decoded: quality.totalVideoFrames,
    dropped: quality.droppedVideoFrames, pixel})});
}
video.onended = () => tell('ended');
video.onerror = () => tell('error: ' + video.error.message);
video.src = '/video.mp4';
video.play().catch(reason => tell('refused: ' + reason));
</script>"""


def make_handler(page, video, said):
    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def answer(self, kind, body):
            self.send_response(200)
            self.send_header("Content-Type", kind)
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)

        def do_GET(self):
            if self.path == "/video.mp4":
                self.answer("video/mp4", video)
            else:
                self.answer("text/html", page)

        def do_POST(self):
            said.put(json.loads(self.rfile.read(int(self.headers["Content-Length"]))))
            self.answer("text/plain", b"")

        def log_message(self, *arguments):
            pass

    return Handler


class Server(http.server.ThreadingHTTPServer):
    def handle_error(self, request, client_address):
        """A browser that is ended breaks its connections."""


def run_browser(browser, port, profile):
    arguments = [browser, "--no-sandbox", "--disable-gpu", "--autoplay-policy=no-user-gesture-required",
                 "--remote-debugging-port=0", f"--user-data-dir={profile}", f"http://127.0.0.1:{port}/"]
    return subprocess.Popen(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                            stdin=subprocess.DEVNULL, start_new_session=True)


def main():
    browser, path, x, y = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
    with open(path, "rb") as file:
        video = file.read()
    said = queue.Queue()
    page = (PAGE % (x, y)).encode()
    server = Server(("127.0.0.1", 0), make_handler(page, video, said))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        process = run_browser(browser, server.server_port, profile)
        try:
            print(json.dumps(said.get(timeout=DEADLINE_SECONDS)))
        except queue.Empty:
            sys.exit("the browser told nothing")
        finally:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


if __name__ == "__main__":
    main()
