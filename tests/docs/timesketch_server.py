"""What the importer of Timesketch talks to: a server that has one sketch, and keeps the events it is sent."""
import email
import http.server
import json
import threading

SKETCH = {"objects": [{"id": 1, "name": "sketch", "my_permissions": '["read", "write"]'}]}
UPLOADED = {"objects": [{"id": 1, "searchindex": {"index_name": "events"}}], "meta": {"task_id": "task"}}


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *_):
        pass

    def answer(self, text, kind, status=200, **headers):
        body = text.encode()
        self.send_response(status)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        if "/sketches/" in self.path:
            self.answer(json.dumps(SKETCH), "application/json")
        else:
            self.answer('<input id="csrf_token" value="token">', "text/html")

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        if "/upload/" not in self.path:
            self.answer("", "text/html", 302, Location="/")
            return
        head = f"Content-Type: {self.headers['Content-Type']}\r\n\r\n".encode()
        for part in email.message_from_bytes(head + body).get_payload():
            if part.get_param("name", header="Content-Disposition") == "events":
                text = part.get_payload(decode=True).decode()
                self.server.events.extend(json.loads(line) for line in text.split("\n"))
        self.answer(json.dumps(UPLOADED), "application/json")


def start():
    """The server, with a list `events`; it ends with the process."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.events = []
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server
