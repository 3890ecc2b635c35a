#!/usr/bin/env python3
"""HTTP server for the download tests: serves a folder on 127.0.0.1 and answers a few faulty paths.

  test-server.py ROOT PORTFILE [LIFETIME]

The chosen port is written to PORTFILE once the server listens. The server ends on GET /quit
or after LIFETIME seconds (default 60), whichever comes first, so a test that dies leaves
nothing running for long.

  /fault/short/N     announces 2N bytes, sends N, closes
  /fault/stall       announces 100 bytes, sends 10, then sends nothing more
  /fault/redirect?to=URL   302 to URL
"""
import http.server
import os
import sys
import threading
import time
import urllib.parse


class Handler(http.server.SimpleHTTPRequestHandler):
    protocol_version = "HTTP/1.0"

    def log_message(self, *args):
        pass

    def do_GET(self):
        url = urllib.parse.urlsplit(self.path)
        if url.path == "/quit":
            self.send_response(200)
            self.send_header("Content-Length", "0")
            self.end_headers()
            threading.Timer(0.1, lambda: os._exit(0)).start()
        elif url.path.startswith("/fault/short/"):
            n = int(url.path.rsplit("/", 1)[1])
            self.send_response(200)
            self.send_header("Content-Length", str(2 * n))
            self.end_headers()
            self.wfile.write(b"x" * n)
            self.wfile.flush()
        elif url.path == "/fault/stall":
            self.send_response(200)
            self.send_header("Content-Length", "100")
            self.end_headers()
            self.wfile.write(b"y" * 10)
            self.wfile.flush()
            time.sleep(LIFETIME)
        elif url.path == "/fault/redirect":
            target = urllib.parse.parse_qs(url.query).get("to", ["/"])[0]
            self.send_response(302)
            self.send_header("Location", target)
            self.send_header("Content-Length", "0")
            self.end_headers()
        else:
            super().do_GET()


def main():
    global LIFETIME
    root, port_file = sys.argv[1], sys.argv[2]
    LIFETIME = float(sys.argv[3]) if len(sys.argv) > 3 else 60.0
    devnull = os.open(os.devnull, os.O_RDWR)
    for fd in (0, 1, 2):
        os.dup2(devnull, fd)
    threading.Timer(LIFETIME, lambda: os._exit(0)).start()

    class Server(http.server.ThreadingHTTPServer):
        daemon_threads = True

    server = Server(("127.0.0.1", 0), lambda *a, **k: Handler(*a, directory=root, **k))
    tmp = port_file + ".tmp"
    with open(tmp, "w") as f:
        f.write(str(server.server_address[1]))
    os.replace(tmp, port_file)
    server.serve_forever()


LIFETIME = 60.0
if __name__ == "__main__":
    main()
