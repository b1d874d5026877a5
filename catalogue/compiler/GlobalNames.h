// Global names that no message system may have: a namespace beside a class, function or variable of the same
// name does not compile. The C library's are here whether or not the library's own headers include their
// header, for the programs that use a wrapper include more. Only names that a system can have: letters and
// digits.
#pragma once

#include <string_view>

namespace kwxml::catalogue {

// Both are words with a blank behind each.

/// What this library's public headers declare, and the namespaces that are not a catalogue's.
inline constexpr std::string_view libraryNames =
    "CYxCRC64 CYxError CYxFile EncodingFlags EvDebug EvDebugSettings EvEvent FXString FieldDataType "
    "FieldDef KWPassword KWPlatformInfo KwCriticalSectionH KwException KwThreadPool KwXMLContextInfo "
    "ListenerCbData MessageSystemRow MySAX2Handler UCS4Ch UTF16Ch XMLByte XMLCh XMLChstring XMLDebug "
    "XMLDecoder XMLEncXStr XMLEncoder XMLFileLoc XMLFilePos XMLInt16 XMLInt32 XMLInt64 "
    "XMLSerializationSupport XMLSerializer XMLUInt16 XMLUInt32 XMLUInt64 XPathDataRow XPathIDHelper "
    "XPathIDToXPath XmlInvalidCharHandler YMMessageBase YMMessageBuffer base64Decode base64DecodeXmlCh "
    "base64Encode bstring cdata kwxml main parseStringForCDATAEndAndReplace processKWTime processXDate "
    "pstring skipValidation std writeXDate xercesc ";

/// Functions, variables and types of the C library; the variants for types of a fixed width are left out.
inline constexpr std::string_view cLibraryNames =
    "FILE a64l abort abs access acct acos acosf acosh acoshf acoshl acosl adjtime alarm alloca arc4random "
    "asctime asin asinf asinh asinhf asinhl asinl asprintf atan atan2 atan2f atan2l atanf atanh atanhf "
    "atanhl atanl atexit atof atoi atol atoll basename bcmp bcopy brk bsearch btowc bzero calloc "
    "canonicalize canonicalizef canonicalizel cbrt cbrtf cbrtl ceil ceilf ceill chdir chmod chown chroot "
    "clearenv clearerr clock clone close closefrom confstr copysign copysignf copysignl cos cosf cosh "
    "coshf coshl cosl creat creat64 crypt ctermid ctime cuserid daddl daemon daylight ddivl dfmal "
    "difftime div dmull dprintf drand48 drem dremf dreml dsqrtl dsubl dup dup2 dup3 duplocale dysize "
    "eaccess ecvt endusershell environ erand48 erf erfc erfcf erfcl erff erfl euidaccess execl execle "
    "execlp execv execve execveat execvp execvpe exit exp exp10 exp10f exp10l exp2 exp2f exp2l expf expl "
    "expm1 expm1f expm1l fabs fabsf fabsl faccessat fadd faddl fallocate fallocate64 fchdir fchmod "
    "fchmodat fchown fchownat fclose fcloseall fcntl fcntl64 fcvt fdatasync fdim fdimf fdiml fdiv fdivl "
    "fdopen feof ferror fexecve fflush ffma ffmal ffs ffsl ffsll fgetc fgetpos fgetpos64 fgets fgetwc "
    "fgetws fileno finite finitef finitel flock flock64 flockfile floor floorf floorl fma fmaf fmal fmax "
    "fmaxf fmaximum fmaximumf fmaximuml fmaxl fmaxmag fmaxmagf fmaxmagl fmemopen fmin fminf fminimum "
    "fminimumf fminimuml fminl fminmag fminmagf fminmagl fmod fmodf fmodl fmul fmull fopen fopen64 "
    "fopencookie fork fpathconf fprintf fputc fputs fputwc fputws fread free freelocale freopen freopen64 "
    "frexp frexpf frexpl fromfp fromfpf fromfpl fromfpx fromfpxf fromfpxl fscanf fseek fseeko fseeko64 "
    "fsetpos fsetpos64 fsqrt fsqrtl fstat fstat64 fstatat fstatat64 fsub fsubl fsync ftell ftello "
    "ftello64 ftruncate ftruncate64 ftrylockfile funlockfile futimens futimes futimesat fwide fwprintf "
    "fwrite fwscanf gamma gammaf gammal gcvt getc getchar getcpu getcwd getdate getdelim getdomainname "
    "getdtablesize getegid getentropy getenv geteuid getgid getgroups gethostid gethostname getitimer "
    "getline getloadavg getlogin getopt getpagesize getpass getpayload getpayloadf getpayloadl getpgid "
    "getpgrp getpid getppid getpt getresgid getresuid getsid getsubopt gettid gettimeofday getuid "
    "getumask getusershell getw getwc getwchar getwd gmtime grantpt gsignal hypot hypotf hypotl ilogb "
    "ilogbf ilogbl imaxabs imaxdiv index initstate iovec isalnum isalpha isascii isatty isblank "
    "iscanonical iscntrl isctype isdigit iseqsig isgraph isinff isinfl islower isnanf isnanl isprint "
    "ispunct issignaling isspace isupper iswalnum iswalpha iswblank iswcntrl iswctype iswdigit iswgraph "
    "iswlower iswprint iswpunct iswspace iswupper iswxdigit isxdigit iszero itimerspec itimerval j0 j0f "
    "j0l j1 j1f j1l jn jnf jnl jrand48 kill killpg l64a labs lchmod lchown lcong48 lconv ldexp ldexpf "
    "ldexpl ldiv lgamma lgammaf lgammal link linkat llabs lldiv llogb llogbf llogbl llrint llrintf "
    "llrintl llround llroundf llroundl localeconv localtime lockf log log10 log10f log10l log1p log1pf "
    "log1pl log2 log2f log2l logb logbf logbl logf logl longjmp lrand48 lrint lrintf lrintl lround "
    "lroundf lroundl lseek lseek64 lstat lstat64 lutimes malloc mblen mbrlen mbrtowc mbsinit mbsnrtowcs "
    "mbsrtowcs mbstowcs mbtowc memccpy memchr memcmp memcpy memfrob memmem memmove mempcpy memrchr memset "
    "mkdir mkdirat mkdtemp mkfifo mkfifoat mknod mknodat mkostemp mkostemp64 mkostemps mkostemps64 "
    "mkstemp mkstemp64 mkstemps mkstemps64 mktemp mktime modf modff modfl mrand48 nan nanf nanl nanosleep "
    "nearbyint nearbyintf nearbyintl newlocale nextafter nextafterf nextafterl nextdown nextdownf "
    "nextdownl nexttoward nexttowardf nexttowardl nextup nextupf nextupl nice nrand48 obstack open open64 "
    "openat openat64 optarg opterr optind optopt pathconf pause pclose perror pipe pipe2 popen pow powf "
    "powl pread pread64 printf profil pselect psiginfo psignal ptsname putc putchar putenv puts putw "
    "putwc putwchar pwrite pwrite64 qecvt qfcvt qgcvt qsort raise rand random rawmemchr read readahead "
    "readlink readlinkat realloc reallocarray realpath remainder remainderf remainderl remove remquo "
    "remquof remquol rename renameat renameat2 revoke rewind rindex rint rintf rintl rmdir round "
    "roundeven roundevenf roundevenl roundf roundl rpmatch sbrk scalb scalbf scalbl scalbln scalblnf "
    "scalblnl scalbn scalbnf scalbnl scanf seed48 select setbuf setbuffer setdomainname setegid setenv "
    "seteuid setgid sethostid sethostname setitimer setjmp setlinebuf setlocale setlogin setns setpayload "
    "setpayloadf setpayloadl setpayloadsig setpayloadsigf setpayloadsigl setpgid setpgrp setregid "
    "setresgid setresuid setreuid setsid setstate settimeofday setuid setusershell setvbuf sigaction "
    "sigaddset sigaltstack sigandset sigblock sigcontext sigdelset sigemptyset sigevent sigfillset "
    "siggetmask sighold sigignore siginterrupt sigisemptyset sigismember siglongjmp signal signgam "
    "significand significandf significandl sigorset sigpause sigpending sigprocmask sigqueue sigrelse "
    "sigreturn sigset sigsetmask sigstack sigsuspend sigtimedwait sigval sigwait sigwaitinfo sin sincos "
    "sincosf sincosl sinf sinh sinhf sinhl sinl sleep snprintf splice sprintf sqrt sqrtf sqrtl srand "
    "srand48 srandom sscanf ssignal stat stat64 statx stpcpy stpncpy strcasecmp strcasestr strcat strchr "
    "strchrnul strcmp strcoll strcpy strcspn strdup strerror strfromd strfromf strfroml strfry strftime "
    "strlen strncasecmp strncat strncmp strncpy strndup strnlen strpbrk strptime strrchr strsep strsignal "
    "strspn strstr strtod strtof strtoimax strtok strtol strtold strtoll strtoq strtoul strtoull "
    "strtoumax strtouq strverscmp strxfrm swab swprintf swscanf symlink symlinkat sync syncfs syscall "
    "sysconf system tan tanf tanh tanhf tanhl tanl tcgetpgrp tcsetpgrp tee tempnam tgamma tgammaf tgammal "
    "tgkill time timegm timelocal timespec timeval timex timezone tm tmpfile tmpfile64 tmpnam toascii "
    "tolower totalorder totalorderf totalorderl totalordermag totalordermagf totalordermagl toupper "
    "towctrans towlower towupper trunc truncate truncate64 truncf truncl ttyname ttyslot tzname tzset "
    "ualarm ufromfp ufromfpf ufromfpl ufromfpx ufromfpxf ufromfpxl uint ulong umask ungetc ungetwc unlink "
    "unlinkat unlockpt unsetenv unshare uselocale ushort usleep utimensat utimes valloc vasprintf "
    "vdprintf vfork vfprintf vfscanf vfwprintf vfwscanf vhangup vmsplice vprintf vscanf vsnprintf "
    "vsprintf vsscanf vswprintf vswscanf vwprintf vwscanf wcpcpy wcpncpy wcrtomb wcscasecmp wcscat wcschr "
    "wcschrnul wcscmp wcscoll wcscpy wcscspn wcsdup wcsftime wcslen wcsncasecmp wcsncat wcsncmp wcsncpy "
    "wcsnlen wcsnrtombs wcspbrk wcsrchr wcsrtombs wcsspn wcsstr wcstod wcstof wcstoimax wcstok wcstol "
    "wcstold wcstoll wcstombs wcstoq wcstoul wcstoull wcstoumax wcstouq wcswcs wcswidth wcsxfrm wctob "
    "wctomb wctrans wctype wcwidth wmemchr wmemcmp wmemcpy wmemmove wmempcpy wmemset wprintf write wscanf "
    "y0 y0f y0l y1 y1f y1l yn ynf ynl ";

}  // namespace kwxml::catalogue
