// The same as hello.c with the C++ library, as many CGI programs are made.
#include <iostream>

int main()
{
    std::cout << "Content-type: text/plain\r\n\r\n"
              << "General.Brand.CompanyName=KORALUX\r\n";
    return 0;
}
