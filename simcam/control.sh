#!/bin/sh
# The CGI program behind the demo's /camera, nothing of a camera: hands the body of a POST, lines of the model grammar,
# to the simulated camera; /camera/log is its log, /camera/faults tells which faults can be had and, behind "now", which
# there are. A page of another site gets none of it: the host has to be one that the demo was started for, which a
# foreign name that leads to this address is not, and who says where the request comes from (browsers do of every POST)
# has to come from there.
reply() {
    printf 'Status: %s\r\nContent-Type: text/plain; charset=utf-8\r\n%s\r\n%s\n' "$1" "${3-}" "$2"
    exit
}

lower() { printf %s "$1" | tr '[:upper:]' '[:lower:]'; }

hosts='127.0.0.1 localhost'
[ ! -f /etc/camera.hosts ] || hosts=$(cat /etc/camera.hosts)
host=$(lower "$HTTP_HOST")
case " $hosts " in
*" ${host%:*} "* | *" $host "*) ;;
*) reply '403 Forbidden' "the demo was not started for the host \"$host\"; --host NAME adds one" ;;
esac
origin=$(lower "$HTTP_ORIGIN")
[ -z "$origin" ] || [ "${origin#*://}" = "$host" ] || reply '403 Forbidden' 'the request comes from another site'

case $REQUEST_METHOD$PATH_INFO in
GET/log | HEAD/log) reply '200 OK' '' 'X-Sendfile: /var/log/camera.log
' ;;
GET/faults) reply '200 OK' "$(simcam --faults && printf faults | simcam --tell)" ;;
POST) ;;
*) reply '405 Method Not Allowed' 'a change of the camera is a POST of model lines' ;;
esac
answer=$(simcam --tell) && reply '200 OK' "$answer"
case $answer in
'no camera answers: '*) reply '502 Bad Gateway' "$answer" ;;
*) reply '400 Bad Request' "$answer" ;;
esac
