// The least that a CGI program can be: the mark for what the web server and the start of a process cost.
#include <stdio.h>

int main(void)
{
    fputs("Content-type: text/plain\r\n\r\nGeneral.Brand.CompanyName=KORALUX\r\n", stdout);
    return 0;
}
