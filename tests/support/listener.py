"""The other end of a call back."""
import http.server
import threading
import xmlrpc.client


def http_answer(body):
    return f"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body


class Listener:
    """A client's own XML-RPC server, which notes what it is told and answers as it is bid: "fine", "slow", "fault", or with
    these bytes."""

    def __init__(self, answer="fine"):
        self.calls, self.release = [], threading.Event()
        listener = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                arguments, method = xmlrpc.client.loads(self.rfile.read(int(self.headers["Content-Length"])))
                listener.calls.append((self.path, method, arguments, self.headers["User-Agent"]))
                if answer == "slow":
                    listener.release.wait()
                said = xmlrpc.client.Fault(42, "not today") if answer == "fault" else (0,)
                self.wfile.write(answer if isinstance(answer, bytes) else
                                 http_answer(xmlrpc.client.dumps(said, methodresponse=True).encode()))

            def log_message(self, *_):
                pass
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def url(self, path):
        return f"http://127.0.0.1:{self.port}/{path}"

    def stop(self):
        self.release.set()
        self.server.shutdown()
        self.server.server_close()
