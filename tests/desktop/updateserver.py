# SPDX-License-Identifier: MIT
"""The update server, reached as the program's proxy: the shipped executable runs as it is, with its own URL.

Qt follows the environment's proxy settings, so the server takes every host's connections on a
loopback port that the system chose. Its certificate is of its own making, which the program accepts."""

import http.server
import ssl
import subprocess
import threading
import urllib.parse

from processes import wait_until

_TRICKLE_BYTES = 1024
_TRICKLE_SECONDS = 0.03


class UpdateServer:
    def __init__(self, session):
        self.files = {}
        self.requests = []
        # While cleared, files come in a trickle.
        self.flow = threading.Event()
        self.flow.set()
        self._tls = self._certificate(session)
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), _handler_for(self))
        self._server.daemon_threads = True
        self._thread = threading.Thread(target=self._server.serve_forever, args=(0.05,), daemon=True)
        self._thread.start()

    @staticmethod
    def _certificate(session):
        key, certificate = session.path("server.key"), session.path("server.crt")
        subprocess.run(
            [
                "openssl",
                "req",
                "-x509",
                "-newkey",
                "rsa:2048",
                "-nodes",
                "-days",
                "1",
                "-subj",
                "/CN=localhost",
                "-keyout",
                key,
                "-out",
                certificate,
            ],
            env=session.env,
            check=True,
            timeout=30,
            stdin=subprocess.DEVNULL,
            capture_output=True,
        )
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        return context

    @property
    def address(self):
        return f"127.0.0.1:{self._server.server_port}"

    @property
    def environment(self):
        proxy = f"http://{self.address}"
        return {"http_proxy": proxy, "https_proxy": proxy}

    def publish(self, name, data):
        self.files[f"/QorMonitorUpdate/{name}"] = data

    def wait_request(self, name, seconds=10):
        wait_until(lambda: f"/QorMonitorUpdate/{name}" in self.requests, seconds, f"{name} is asked for")

    def secure(self, connection):
        return self._tls.wrap_socket(connection, server_side=True)

    def close(self):
        self.flow.set()
        self._server.shutdown()
        self._thread.join(5)
        self._server.server_close()


def _handler_for(server):
    class Handler(http.server.BaseHTTPRequestHandler):
        # A connection stays open behind an answer, as with real servers.
        protocol_version = "HTTP/1.1"

        def do_CONNECT(self):
            self.send_response(200)
            self.end_headers()
            self.connection = server.secure(self.connection)
            self.rfile = self.connection.makefile("rb")
            self.wfile = self.connection.makefile("wb", buffering=0)
            self.close_connection = False

        def do_GET(self):
            path = urllib.parse.urlsplit(self.path).path
            server.requests.append(path)
            data = server.files.get(path)
            self.send_response(404 if data is None else 200)
            self.send_header("Content-Length", str(len(data or b"")))
            self.end_headers()
            try:
                self._send(data or b"")
            except OSError:
                pass  # The program has cancelled the transfer.

        def _send(self, data):
            rest = memoryview(data)
            while rest and not server.flow.wait(_TRICKLE_SECONDS):
                self.connection.sendall(rest[:_TRICKLE_BYTES])
                rest = rest[_TRICKLE_BYTES:]
            self.connection.sendall(rest)

        def finish(self):
            super().finish()
            # Not the socket that the base class closes, once the connection is secured.
            self.connection.close()

        def log_message(self, *_):
            pass

    return Handler
