"""A JSON-RPC 2.0 client that knows nothing of this system but its addresses: prints what it reads, as JSON.

Arguments: the URL, the token, a report's name.
"""

import json
import sys

import jsonrpclib

url, token, name = sys.argv[1:]
server = jsonrpclib.ServerProxy(url, headers={"Authorization": "Bearer " + token})
reports = server.com.korvex.oru.observability.reports
answers = {"list": reports.list(detail="FULL"), "get": reports.get(name=name)}
try:
    reports.get(name="nothing")
except jsonrpclib.ProtocolError as error:
    answers["error"] = error.args[0]
print(json.dumps(answers))
