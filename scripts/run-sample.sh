#!/usr/bin/env bash
# The main job on the bundled sample drawing: installs what is missing, builds, shows what the drawing holds,
# holds a short scripted conversation with the assistant module (examples/assistant_session.jsonl: each
# request line is answered by one line; the host's command-line log goes to standard error) and draws the plan
# after it, its changes coloured. Last, on a terminal, it serves the assistant page with the sample drawing to
# a browser on this machine until Ctrl-C (`--no-serve` leaves that out).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$here"
./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target vela-assist vela-desk
bin=build/release/apps/vela-assist/vela-assist
sample=examples/floor_plan.dxf
"$bin" info "$sample"
echo
echo "== conversation (requests from examples/assistant_session.jsonl, one answer a line) =="
# The conversation ends with a picture of the plan as it left it: what it created, changed and erased in
# green, blue and red.
picture=build/sample-after-conversation.png
{ cat examples/assistant_session.jsonl; echo "{\"render\": \"$picture\", \"since\": 0, \"size\": \"1600x1200\"}"; } |
    "$bin" run "$sample"
echo
echo "== picture of the drawing after the conversation: $picture =="
if [ "${1:-}" != "--no-serve" ] && [ -t 1 ]; then
  echo
  echo "== the assistant page with the sample drawing: open the address below in a browser (Ctrl-C stops) =="
  exec "$bin" serve "$sample"
fi
echo
echo "To work with the assistant page in a browser: $bin serve $sample"
echo "To work in the desktop window with the assistant docked: build/release/apps/vela-desk/vela-desk $sample"
