#!/bin/sh
# The CGI program behind the demo's POST /camera: hands the body, lines of the model grammar, to the control socket of
# the simulated camera. Nothing of a camera.
reply() {
    printf 'Status: %s\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n%s\n' "$1" "$2"
    exit
}

[ "$REQUEST_METHOD" = POST ] || reply '405 Method Not Allowed' 'a change of the camera is a POST of model lines'
answer=$(socat -t 10 - UNIX-CONNECT:/tmp/simcam 2>&1) || reply '502 Bad Gateway' "no camera answers: $answer"
[ "$answer" = ok ] || reply '400 Bad Request' "${answer:-an empty change}"
reply '200 OK' "$answer"
