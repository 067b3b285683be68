// The host's LISP: reading and printing, the language, the built-in families, the drawing through group
// lists and filters, commands, user input and the sandbox's limits.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include "../commands/fixture.h"
#include "db/entities/text.h"
#include "host/lisp/evaluation.h"
#include "host/property_protocol/property_protocol.h"
#include "host/property_protocol/selection_engine.h"
#include "host/result_codes.h"

namespace vela::host::lisp {
namespace {

/// A user who types the given answers, then presses Escape.
class TypingUser : public UserInputSource {
  public:
    QStringList answers;
    QStringList prompts;
    int getInput(const InputRequest& request, InputAnswer& answer) override {
        prompts << request.prompt;
        if (answers.isEmpty()) return RTCAN;
        answer.text = answers.takeFirst();
        return RTNORM;
    }
};

class Lisp : public commands::testing::DrawingTest, public MessageSink {
  protected:
    QStringList log;
    TypingUser user;

    Lisp() {
        host.services().setMessageSink(this);
        host.services().setUserInput(&user);
    }
    ~Lisp() override {
        host.services().setUserInput(nullptr);
        host.services().setMessageSink(nullptr);
    }
    void writeMessage(const QString& text) override { log << text; }

    std::string eval(const char* text) { return evaluateLisp(QString::fromUtf8(text)).text.toStdString(); }
    std::size_t entityCount() {
        std::size_t n = 0;
        db::openObject<db::BlockTableRecord>(db.modelSpaceId(), db::OpenMode::ForRead)
            ->forEachEntity([&](db::Entity*) { ++n; });
        return n;
    }
};

TEST_F(Lisp, ReadsAndPrintsTheDialectsValues) {
    EXPECT_EQ(eval("'(1 -2 0.25 2.0 \"a\\\"b\\\\c\\n\" (8 . \"Walls\") abc nil T)"),
              R"((1 -2 0.25 2.0 "a\"b\\c\n" (8 . "Walls") ABC nil T))");
    EXPECT_EQ(eval("(/ 1.0 3)"), "0.333333");
    EXPECT_EQ(eval("1e20"), "1.0e+20");
    EXPECT_EQ(eval("3000000000"), "3.0e+09") << "integers beyond 32 bits read as reals";
    EXPECT_EQ(eval(".5"), "0.5");
    EXPECT_EQ(eval("-7"), "-7");
    EXPECT_EQ(eval("'(1 . (2 . (3 . nil)))"), "(1 2 3)");
    EXPECT_EQ(eval("'(a . b)"), "(A . B)");
    EXPECT_EQ(eval("; a comment\n(+ 1 ;| a block\ncomment |; 2)"), "3");
    EXPECT_EQ(eval("(read \"(1 (2 \\\"x\\\") . 3)\")"), R"((1 (2 "x") . 3))");
    EXPECT_EQ(eval("(princ \"tab\\there\")"), "\"tab\\there\"");
    EXPECT_EQ(eval("1+ 'x"), "X") << "every top-level form is evaluated; the last one answers";

    // Malformed text is an error value, however it is malformed.
    EXPECT_EQ(eval("(1 2"), "; error: malformed list on input");
    EXPECT_EQ(eval("(+ 1 2))"), "; error: extra right paren on input");
    EXPECT_EQ(eval("\"open"), "; error: malformed string on input");
    EXPECT_EQ(eval("(1 . )"), "; error: malformed list on input");
    EXPECT_EQ(eval(std::string(100000, '(').c_str()).rfind("; error: malformed list on input", 0), 0u);
    std::string deepQuotes(50000, '\'');
    deepQuotes += "x";
    EXPECT_EQ(eval(deepQuotes.c_str()).rfind("; error: malformed list", 0), 0u);
}

TEST_F(Lisp, SpecialFormsAndDynamicScope) {
    EXPECT_EQ(eval("(setq a 1 b (+ a 1)) (list a b)"), "(1 2)");
    EXPECT_EQ(eval("(defun f (x / a) (setq a (* x 10)) (g)) (defun g () a) (list (f 2) a)"), "(20 1)")
        << "locals are bound for the call (seen by callees) and unbound after it";
    EXPECT_EQ(eval("(defun sq (x) (* x x))"), "SQ");
    EXPECT_EQ(eval("(mapcar 'sq '(1 2 3))"), "(1 4 9)");
    EXPECT_EQ(eval("(mapcar (function (lambda (x y) (+ x y))) '(1 2 3) '(10 20))"), "(11 22)");
    EXPECT_EQ(eval("((lambda (x) (* 2 x)) 4)"), "8");
    EXPECT_EQ(eval("(apply '+ '(1 2 3))"), "6");
    EXPECT_EQ(eval("(apply 'and '(1 nil))"), "nil") << "special forms can be applied";
    EXPECT_EQ(eval("(cond ((= 1 2) 'a) ((+ 1 1)) (T 'c))"), "2");
    EXPECT_EQ(eval("(setq i 0 s 0) (while (< i 5) (setq s (+ s i) i (1+ i))) s"), "10");
    EXPECT_EQ(eval("(setq n 0) (repeat 4 (setq n (+ n 2)))"), "8");
    EXPECT_EQ(eval("(setq x 'outer) (foreach x '(1 2 3) (setq last x)) (list x last)"), "(OUTER 3)");
    EXPECT_EQ(eval("(list (and 1 2) (and 1 nil) (or nil 3) (or))"), "(T nil T nil)");
    EXPECT_EQ(eval("(if nil 1)"), "nil");
    EXPECT_EQ(eval("(progn 1 2 3)"), "3");

    EXPECT_EQ(eval("(if)"), "; error: too few arguments");
    EXPECT_EQ(eval("(if 1 2 3 4)"), "; error: too many arguments");
    EXPECT_EQ(eval("(sq)"), "; error: too few arguments");
    EXPECT_EQ(eval("(sq 1 2)"), "; error: too many arguments");
    EXPECT_EQ(eval("(setq T 1)"), "; error: bad argument type: symbolp T");
    EXPECT_EQ(eval("(no-such-function 1)"), "; error: no function definition: NO-SUCH-FUNCTION");
    EXPECT_EQ(eval("(1 2)"), "; error: bad function: 1");
    EXPECT_EQ(eval("(setq a)"), "; error: too few arguments");
    EXPECT_EQ(eval("(defun f (x / a) (car x)) (f 1) (list a)"), "; error: bad argument type: consp 1");
    EXPECT_EQ(eval("a"), "1") << "an error on the way out of a call still unbinds its locals";
}

TEST_F(Lisp, ErrorsCanBeCaughtAndHandled) {
    EXPECT_EQ(eval("(setq r (vl-catch-all-apply '/ '(1 0))) (list (vl-catch-all-error-p r) "
                   "(vl-catch-all-error-message r))"),
              R"((T "divide by zero"))");
    EXPECT_EQ(eval("(vl-catch-all-apply '+ '(1 2))"), "3");
    EXPECT_EQ(eval("(vl-catch-all-error-p 3)"), "nil");
    EXPECT_EQ(eval("(defun *error* (msg) (princ (strcat \"handled: \" msg)) (princ)) (exit)"),
              "; error: quit / exit abort");
    EXPECT_TRUE(log.contains(QStringLiteral("handled: quit / exit abort")));
    eval("(setq *error* nil)");
}

TEST_F(Lisp, Arithmetic) {
    EXPECT_EQ(eval("(list (+) (+ 1 2) (+ 1 2.0) (- 5) (- 10 1 2) (* 2 3) (*) (/ 7 2) (/ 7 2.0) (/ -7 2))"),
              "(0 3 3.0 -5 7 6 1 3 3.5 -3)");
    EXPECT_EQ(eval("(+ 2147483647 1)"), "-2147483648") << "integers wrap at 32 bits";
    EXPECT_EQ(eval("(list (rem 7 3) (rem -7 3) (rem 7.5 2) (1+ 1) (1- 1.5) (abs -3) (abs -2.5))"),
              "(1 -1 1.5 2 0.5 3 2.5)");
    EXPECT_EQ(eval("(list (min 3 1 2) (max 1 2.0) (expt 2 10) (expt 2.0 0.5) (sqrt 16) (fix 3.9) (fix -3.9) "
                   "(float 2) (gcd 12 18))"),
              "(1 2.0 1024 1.41421 4.0 3 -3 2.0 6)");
    EXPECT_EQ(eval("(list (atan 1 1) (atan 1) (sin 0) (cos 0) (exp 0) (log 1))"),
              "(0.785398 0.785398 0.0 1.0 1.0 0.0)");
    EXPECT_EQ(eval("(/ 1 0)"), "; error: divide by zero");
    EXPECT_EQ(eval("(/ 1.0 0)"), "; error: divide by zero");
    EXPECT_EQ(eval("(sqrt -1)"), "; error: function undefined for argument: -1");
    EXPECT_EQ(eval("(+ 1 \"a\")"), "; error: bad argument type: numberp: \"a\"");
    EXPECT_EQ(eval("(exp 1000)"), "; error: floating-point overflow");

    EXPECT_EQ(
        eval("(list (= 1 1.0) (= 1 2) (/= 1 2) (< 1 2 3) (< 1 3 2) (<= 1 1) (> \"b\" \"a\") (>= 2 2.0))"),
        "(T nil T T nil T T T)");
    EXPECT_EQ(
        eval(
            "(list (= \"a\" \"a\") (eq 'a 'a) (eq \"a\" \"a\") (equal \"a\" \"a\") (equal '(1 (2)) '(1 (2))) "
            "(equal 1.0 1.05 0.1) (equal 1 1.0))"),
        "(T T nil T T T T)");
    EXPECT_EQ(eval("(setq a 1) (list (zerop 0.0) (minusp -1) (numberp 'a) (listp nil) (atom '(1)) (null nil) "
                   "(not 1) "
                   "(boundp 'never-set) (boundp 'a))"),
              "(T T nil T nil T nil nil T)");
    EXPECT_EQ(eval("(defun sq (x) (* x x)) (mapcar 'type (list 1 1.0 \"s\" 'a '(1) car sq (ssadd)))"),
              "(INT REAL STR SYM LIST SUBR USUBR PICKSET)");
    EXPECT_EQ(eval("(type nil)"), "nil");
}

TEST_F(Lisp, Lists) {
    EXPECT_EQ(eval("(setq l '(1 (2 3) 4 5))"), "(1 (2 3) 4 5)");
    EXPECT_EQ(
        eval("(list (car l) (cdr l) (cadr l) (caadr l) (cdadr l) (caddr l) (cadddr l) (cddddr l) (car nil))"),
        "(1 ((2 3) 4 5) (2 3) 2 (3) 4 5 nil nil)");
    EXPECT_EQ(eval("(car 1)"), "; error: bad argument type: consp 1");
    EXPECT_EQ(
        eval("(list (cons 1 '(2)) (cons 1 2) (append '(1) '(2 3) nil '(4)) (reverse '(1 2 3)) (length l) "
             "(nth 1 l) (nth 9 l) (last l))"),
        "((1 2) (1 . 2) (1 2 3 4) (3 2 1) 4 (2 3) nil 5)");
    EXPECT_EQ(eval("(length '(1 . 2))"), "; error: bad argument type: listp (1 . 2)");
    EXPECT_EQ(eval("(list (member 4 l) (member 9 l) (assoc 8 '((0 . \"LINE\") (8 . \"W\"))) "
                   "(subst 'x 1 '(1 2 1)) (subst '(8 . \"N\") '(8 . \"W\") '((0 . \"A\") (8 . \"W\"))))"),
              R"(((4 5) nil (8 . "W") (X 2 X) ((0 . "A") (8 . "N"))))");
    EXPECT_EQ(eval("(list (vl-sort '(3 1 2 1) '<) (vl-sort '(\"b\" \"a\") '<) (vl-sort-i '(30 10 20) '<) "
                   "(vl-sort '(1 2 3 4 5 6 7 8) (lambda (a b) T)))"),
              R"(((1 1 2 3) ("a" "b") (1 2 0) (8 7 6 5 4 3 2 1)))")
        << "an order that contradicts itself sorts something without reading outside the list";
    EXPECT_EQ(eval("(list (vl-remove-if 'minusp '(1 -2 3)) (vl-remove-if-not 'minusp '(1 -2 3)) "
                   "(vl-position 3 '(1 2 3)) (vl-position 9 '(1)) (vl-some '= '(1 2) '(3 2)) "
                   "(vl-every 'numberp '(1 a)) (vl-remove 2 '(1 2 3 2)) (vl-list* 1 2 '(3)))"),
              "((1 3) (-2) 2 nil T nil (1 3) (1 2 3))");
    // A long list is built, printed and freed without a deep stack.
    EXPECT_EQ(eval("(setq big nil) (repeat 1000000 (setq big (cons 1 big))) (length big)"), "1000000");
    EXPECT_EQ(eval("(setq big nil deep nil) (repeat 200000 (setq deep (list deep))) (length deep)"), "1");
    EXPECT_EQ(eval("(setq deep nil) 'freed"), "FREED");
}

TEST_F(Lisp, Strings) {
    EXPECT_EQ(eval("(list (strcat \"a\" \"b\" \"c\") (strcat) (substr \"Hello\" 2 3) (substr \"Hello\" 4) "
                   "(substr \"Hi\" 5) (strlen \"Walls\") (strcase \"Ab\") (strcase \"Ab\" T))"),
              R"(("abc" "" "ell" "lo" "" 5 "AB" "ab"))");
    EXPECT_EQ(eval("(list (itoa -12) (atoi \"12abc\") (atoi \"x\") (atof \"2.5e1m\") (atof \".5\"))"),
              R"(("-12" 12 0 25.0 0.5))");
    EXPECT_EQ(eval("(list (rtos 3.14159 2 2) (rtos 2.0) (rtos 1234.5 1 3) (rtos 18.5 3 2) (rtos 18.5 4 2) "
                   "(rtos 4.75 5 2) (rtos -0.5 2 1))"),
              R"(("3.14" "2.0000" "1.235E+03" "1'-6.50\"" "1'-6 1/2\"" "4 3/4" "-0.5"))");
    EXPECT_EQ(eval("(list (angtos (/ pi 4)) (angtos (/ pi 4) 0 2) (angtos (/ pi 2) 1 4) (angtos pi 2 1) "
                   "(angtos 1.0 3 3) (angtos (/ pi 4) 4 4) (angtos (- (/ pi 2)) 0 0))"),
              R"(("45" "45.00" "90d0'0\"" "200.0g" "1.000r" "N 45d0'0\" E" "270"))");
    EXPECT_EQ(eval("(list (distof \"2.5\") (distof \"1'-6\\\"\") (distof \"4 1/2\") (distof \"abc\"))"),
              "(2.5 18.0 4.5 nil)");
    EXPECT_EQ(
        eval("(list (vl-string-search \"ll\" \"Hello\") (vl-string-search \"z\" \"Hello\") "
             "(vl-string-subst \"L\" \"l\" \"Hello\") (vl-string-trim \" \" \"  x  \") "
             "(vl-string-left-trim \"0\" \"007\") (vl-string-right-trim \"0\" \"700\") "
             "(vl-string->list \"AB\") (vl-list->string '(72 105)) (chr 65) (ascii \"a\") (ascii \"\"))"),
        R"((2 nil "HeLlo" "x" "7" "7" (65 66) "Hi" "A" 97 0))");
    EXPECT_EQ(
        eval("(list (vl-princ-to-string \"a\") (vl-prin1-to-string \"a\") (vl-prin1-to-string '(1 \"b\")))"),
        R"x(("a" "\"a\"" "(1 \"b\")"))x");
    // Wildcards as CAD programs read them.
    EXPECT_EQ(
        eval("(mapcar '(lambda (p) (wcmatch \"Wall-12\" p)) "
             "'(\"Wall*\" \"wall*\" \"W@ll-##\" \"*-?2\" \"~Wall*\" \"Door,Wall*\" \"[A-W]all*\" \"[~W]*\" "
             "\"Wall`-12\" \"W.ll*\" \"*\"))"),
        "(T nil T T nil T T nil T nil T)");
    EXPECT_EQ(eval("(wcmatch \"a-b\" \"a.b\")"), "T");
    EXPECT_EQ(eval("(substr \"abc\" 0)"), "; error: bad argument type: positive integer: 0");
    EXPECT_EQ(eval("(strcat \"a\" 1)"), "; error: bad argument type: stringp 1");
}

TEST_F(Lisp, PointsAndOutput) {
    EXPECT_EQ(eval("(list (distance '(0 0) '(3 4)) (distance '(0 0 0) '(0 0 5)) (angle '(0 0) '(0 1)) "
                   "(angle '(0 0) '(0 -1)) (polar '(1 1 0) 0 2) (polar '(0 0) (/ pi 2) 1))"),
              "(5.0 5.0 1.5708 4.71239 (3.0 1.0 0.0) (6.12323e-17 1.0))");
    EXPECT_EQ(eval("(list (inters '(0 0) '(10 10) '(0 10) '(10 0)) (inters '(0 0) '(1 1) '(0 10) '(10 0)) "
                   "(inters '(0 0) '(1 1) '(0 10) '(10 0) nil) (inters '(0 0) '(1 0) '(0 1) '(1 1)) "
                   "(trans '(1 2 3) 0 1))"),
              "((5.0 5.0 0.0) nil (5.0 5.0 0.0) nil (1 2 3))");
    log.clear();
    EXPECT_EQ(eval("(princ \"one\") (prin1 \"two\") (terpri) (print 3) (prompt \"\\nfour\") (alert \"five\") "
                   "(princ)"),
              "")
        << "(princ) ends a program quietly";
    EXPECT_EQ(log, QStringList({QStringLiteral("one\"two\""), QString(), QStringLiteral("3 "),
                                QStringLiteral("fourfive")}))
        << "a prompt ends no line";
}

TEST_F(Lisp, EntitiesThroughGroupLists) {
    addLayer("Walls", db::Color::fromIndex(1));
    EXPECT_EQ(eval("(setq e (entmakex '((0 . \"LINE\") (8 . \"Walls\") (62 . 3) (10 1 2 0) (11 4 6 0)))) "
                   "(list (cdr (assoc 0 (entget e))) (cdr (assoc 8 (entget e))) (cdr (assoc 62 (entget e))) "
                   "(cdr (assoc 10 (entget e))) (cdr (assoc 11 (entget e))))"),
              R"(("LINE" "Walls" 3 (1.0 2.0 0.0) (4.0 6.0 0.0)))");
    EXPECT_EQ(eval("(equal (cdr (assoc -1 (entget e))) e)"), "T");
    EXPECT_EQ(eval("(eq (entlast) e)"), "T") << "entity names of one entity are the same";
    EXPECT_EQ(eval("(equal (handent (cdr (assoc 5 (entget e)))) e)"), "T");
    // Angles are radians in lists and degrees in the file.
    EXPECT_EQ(eval("(setq a (entmakex (list '(0 . \"ARC\") '(10 0 0 0) '(40 . 2.0) (cons 50 0.0) (cons 51 (/ "
                   "pi 2))))) "
                   "(cdr (assoc 51 (entget a)))"),
              "1.5708");
    EXPECT_EQ(eval("(cdr (assoc 8 (entget a)))"), "\"0\"") << "the current layer, as the list names none";

    // entmod with a whole list (subst) and with only the groups to change; a new layer is made.
    EXPECT_EQ(
        eval("(setq d (entget e)) (entmod (subst '(8 . \"New\") (assoc 8 d) d)) (cdr (assoc 8 (entget e)))"),
        "\"New\"");
    EXPECT_EQ(eval("(entmod (list (cons -1 e) '(62 . 5) '(10 0 0 0))) (mapcar '(lambda (c) (cdr (assoc c "
                   "(entget e)))) '(8 62 10 11))"),
              R"(("New" 5 (0.0 0.0 0.0) (4.0 6.0 0.0)))");
    EXPECT_EQ(eval("(tblsearch \"LAYER\" \"new\")"),
              R"(((0 . "LAYER") (2 . "New") (70 . 0) (62 . 7) (6 . "Continuous") (290 . 1) (370 . -3)))");
    // Extended data: given with -3, read back for the applications asked for.
    EXPECT_EQ(eval("(list (regapp \"VELA\") (regapp \"VELA\") (regapp \"bad|name\"))"),
              R"(("VELA" nil nil))");
    EXPECT_EQ(eval("(entmake '((0 . \"APPID\") (2 . \"VELA\") (70 . 0)))"), "nil") << "no such table here";
    EXPECT_EQ(eval("(entmod (list (cons -1 e) '(-3 (\"VELA\" (1000 . \"note\") (1040 . 2.5))))) "
                   "(list (assoc -3 (entget e)) (assoc -3 (entget e '(\"VEL*\"))))"),
              R"((nil (-3 ("VELA" (1000 . "note") (1040 . 2.5)))))");
    EXPECT_EQ(eval("(entmod (list (cons -1 e) '(62 . 1))) (cadr (assoc -3 (entget e '(\"VELA\"))))"),
              R"(("VELA" (1000 . "note") (1040 . 2.5)))")
        << "changes that do not name an application keep its data";

    // Lists that describe nothing valid make nothing and say so.
    EXPECT_EQ(eval("(entmake '((0 . \"LINE\") (10 0 0 0)))"), "nil");
    EXPECT_EQ(eval("(entmake '((0 . \"NOSUCHTYPE\") (10 0 0 0)))"), "nil");
    EXPECT_EQ(eval("(entmake '((0 . \"CIRCLE\") (10 0 0 0) (40 . \"big\")))"), "nil");
    EXPECT_EQ(eval("(entmake '((0 . \"LINE\") (8 . \"bad<name\") (10 0 0 0) (11 1 1 0)))"), "nil");
    EXPECT_EQ(eval("(entmake '((0 . \"INSERT\") (2 . \"NoBlock\") (10 0 0 0)))"), "nil");
    EXPECT_EQ(eval("(entmod (list (cons -1 e) '(0 . \"CIRCLE\")))"), "nil");
    EXPECT_EQ(eval("(entmake '(1 2))"), "; error: bad DXF group: 1");
    EXPECT_EQ(eval("(entmake '((10 . \"x\")))"), "nil");

    // Table records by entmake.
    EXPECT_EQ(
        eval("(entmake '((0 . \"LAYER\") (100 . \"AcDbSymbolTableRecord\") (100 . \"AcDbLayerTableRecord\") "
             "(2 . \"Made\") (70 . 0) (62 . 4) (6 . \"Continuous\"))) (cdr (assoc 62 (tblsearch \"LAYER\" "
             "\"Made\")))"),
        "4");
    EXPECT_EQ(eval("(entmake '((0 . \"LAYER\") (2 . \"Made\") (70 . 0)))"), "nil")
        << "a layer of that name exists";
    EXPECT_EQ(eval("(setq n 0 r (tblnext \"LAYER\" T)) (while r (setq n (1+ n) r (tblnext \"LAYER\"))) n"),
              "4");
    EXPECT_EQ(eval("(cdr (assoc 2 (entget (tblobjname \"LAYER\" \"walls\"))))"), "\"Walls\"");

    // entdel erases and brings back; entnext walks the drawing.
    EXPECT_EQ(eval("(entdel e) (list (entget e) (equal (entdel e) e) (cdr (assoc 0 (entget e))))"),
              R"((nil T "LINE"))");
    EXPECT_EQ(eval("(setq n 0 x (entnext)) (while x (setq n (1+ n) x (entnext x))) n"), "2");
    EXPECT_EQ(entityCount(), 2u);
    EXPECT_TRUE(ezdxfAccepts("lisp_entities",
                             "assert len(msp.query('LINE[layer==\\\"New\\\"]')) == 1\n"
                             "assert len(msp.query('ARC')) == 1\n"
                             "line = msp.query('LINE')[0]\n"
                             "assert line.get_xdata('VELA')[0].value == 'note'"));
}

TEST_F(Lisp, SelectionSetsAndFiltersAgreeWithTheSelectionEngine) {
    const db::ObjectId walls = addLayer("Walls"), wallsOld = addLayer("Walls-old"), doors = addLayer("Doors");
    for (int i = 0; i < 6; ++i) {
        line(i % 3 == 0   ? walls
             : i % 3 == 1 ? wallsOld
                          : doors,
             i % 2 ? db::Color::fromIndex(1) : db::Color::byLayer(), i + 1);
        circle(i % 2 ? walls : doors, 0.5 * (i + 1));
    }
    // The engine's answer for lines on "Walls": the property search of the assistant's selection.
    const auto& protocol = PropertyProtocol::instance();
    SearchItem item;
    item.cls = protocol.findClass(QStringLiteral("AcDbLine"));
    item.property = protocol.find(item.cls, QStringLiteral("Layer"));
    item.op = SearchOperator::Equal;
    item.value = walls;
    std::vector<db::ObjectId> engine;
    SelectionEngine::selectItems(db, db.modelSpaceId(), item, engine);
    QStringList expected;
    for (db::ObjectId id : engine) expected << hex(id);
    EXPECT_EQ(
        QString::fromStdString(
            eval("(setq s (ssget \"X\" '((0 . \"LINE\") (8 . \"Walls\")))) (setq out nil i 0) "
                 "(repeat (sslength s) (setq out (cons (cdr (assoc 5 (entget (ssname s i)))) out) i (1+ i))) "
                 "(vl-string-trim \"()\" (vl-princ-to-string (reverse out)))")),
        u'"' + expected.join(u' ') + u'"');

    EXPECT_EQ(eval("(sslength (ssget \"_X\"))"), "12");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((8 . \"walls*\"))))"), "7")
        << "wildcards, without regard to case";
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((0 . \"LINE\") (8 . \"~Walls*\"))))"), "2");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((0 . \"LINE\") (62 . 1))))"), "3");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((0 . \"CIRCLE\") (-4 . \">=\") (40 . 2.0))))"), "3");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((-4 . \"<OR\") (0 . \"CIRCLE\") (-4 . \"<AND\") (0 . \"LINE\") "
                   "(8 . \"Doors\") "
                   "(-4 . \"AND>\") (-4 . \"OR>\"))))"),
              "8");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((-4 . \"<NOT\") (0 . \"LINE\") (-4 . \"NOT>\"))))"), "6");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((0 . \"LINE\") (-4 . \">,*,*\") (11 4 0 0))))"), "2");
    EXPECT_EQ(eval("(sslength (ssget \"X\" '((-4 . \">\") (40 . 1.0) (-4 . \"<,*,*\") (10 1 0 0))))"), "4")
        << "two groups read from each entity's list";
    EXPECT_EQ(eval("(ssget \"X\" '((0 . \"TEXT\")))"), "nil") << "nothing found is nil, not an empty set";
    EXPECT_EQ(eval("(ssget \"X\" '((-4 . \"<OR\") (0 . \"LINE\")))"),
              "; error: bad ssget list value: ((-4 . \"<OR\") (0 . \"LINE\"))");
    EXPECT_EQ(eval("(ssget \"X\" '((-4 . \"<FOO\") (0 . \"LINE\")))"),
              "; error: bad ssget list value: (-4 . \"<FOO\")");
    EXPECT_EQ(eval("(ssget \"Q\")"), "; error: ssget: the selection mode \"Q\" is not available");

    EXPECT_EQ(eval("(setq s (ssadd)) (ssadd (entlast) s) (ssadd (entlast) s) "
                   "(list (sslength s) (equal (ssmemb (entlast) s) (entlast)) (ssname s 5))"),
              "(1 T nil)");
    EXPECT_EQ(eval("(ssdel (entlast) s) (sslength s)"), "0");
    EXPECT_EQ(eval("(sslength (ssget \"L\"))"), "1");
    EXPECT_EQ(eval("(sslength (ssget \"W\" '(-1 -1) '(2.2 0.6)))"), "3")
        << "the window holds the two shortest lines and the smallest circle";
    EXPECT_EQ(eval("(ssget)"), "nil") << "the user pressed Escape";
    doc->selection().set({engine.front()});
    EXPECT_EQ(eval("(sslength (ssget \"I\"))"), "1");
    EXPECT_EQ(eval("(sslength (cadr (ssgetfirst)))"), "1");
}

TEST_F(Lisp, CommandsRunTheHostsCommandsEachCancelledOneTakenBackAlone) {
    EXPECT_EQ(eval("(command \"_.LINE\" '(0 0) '(10 0) \"\" \"CIRCLE\" '(5 5) 2.5)"), "nil");
    EXPECT_EQ(entityCount(), 2u);
    EXPECT_EQ(eval("(cdr (assoc 40 (entget (entlast))))"), "2.5");
    EXPECT_EQ(eval("(command \"ERASE\" (entlast) \"\") (cdr (assoc 0 (entget (entlast))))"), "\"LINE\"");
    EXPECT_EQ(eval("(command \"CIRCLE\" '(1 1))"), "nil");
    EXPECT_EQ(entityCount(), 1u) << "a command whose answers ran out is cancelled and leaves nothing";
    EXPECT_TRUE(log.contains(QStringLiteral("*Cancel*")));
    EXPECT_EQ(eval("(command \"NOSUCH\")"), "nil");
    EXPECT_TRUE(log.contains(QStringLiteral("Unknown command \"NOSUCH\".")));
    EXPECT_EQ(eval("(command \"_.QSAVE\")"),
              "; error: command QSAVE is not available to LISP here: it reads or writes files");
    // A host that gives programs a folder lets them save there, and nowhere else.
    const QString root =
        QDir::temp().filePath(QStringLiteral("lisp_root_%1").arg(QCoreApplication::applicationPid()));
    QDir().mkpath(root + QStringLiteral("/sub"));
    host.setFileRoot(root);
    host.lispSettings().allowFileCommands = true;
    const std::string inside = (root + QStringLiteral("/sub/plan.dxf")).toStdString();
    const std::string outside = (root + QStringLiteral("/../plan.dxf")).toStdString();
    EXPECT_EQ(eval(("(command \"SAVE\" \"" + inside + "\" \"SAVE\" \"" + outside + "\")").c_str()), "nil");
    EXPECT_TRUE(QFileInfo::exists(QString::fromStdString(inside)));
    EXPECT_FALSE(QFileInfo::exists(QString::fromStdString(outside)));
    QDir(root).removeRecursively();
    // The user answers where a program pauses.
    user.answers = {QStringLiteral("4")};
    EXPECT_EQ(eval("(command \"CIRCLE\" '(0 0) pause) (cdr (assoc 40 (entget (entlast))))"), "4.0");

    EXPECT_EQ(eval("(list (getvar \"CLAYER\") (getvar \"circlerad\") (getvar \"NOSUCH\"))"),
              R"(("0" 4.0 nil))");
    EXPECT_EQ(eval("(setvar \"CLAYER\" \"NoLayer\")"),
              R"(; error: AutoCAD variable setting rejected: "CLAYER" "NoLayer")");
    EXPECT_EQ(eval("(setvar \"TEXTSIZE\" 5) (getvar \"TEXTSIZE\")"), "5.0");
}

TEST_F(Lisp, InputComesFromTheUserOrIsCancelled) {
    user.answers = {QStringLiteral("3,4"),
                    QStringLiteral("y"),
                    QStringLiteral("-2"),
                    QStringLiteral("7"),
                    QStringLiteral("Walls and doors"),
                    QString()};
    EXPECT_EQ(eval("(list (getpoint \"\\nPick: \") (progn (initget \"Yes No\") (getkword \"Go? \")) "
                   "(progn (initget 4) (getint \"Count: \")) (getstring T \"Name: \") (getreal))"),
              R"(((3.0 4.0 0.0) "Yes" 7 "Walls and doors" nil))")
        << "a negative count is refused and asked again; Enter answers nil";
    EXPECT_EQ(user.prompts.first(), QStringLiteral("Pick: "));
    EXPECT_EQ(user.prompts[1], QStringLiteral("Go? [Yes/No]: "));
    EXPECT_EQ(eval("(list (getpoint) (entsel))"), "(nil nil)") << "Escape";
    const db::ObjectId l = line();
    user.answers = {hex(l)};
    EXPECT_EQ(eval("(cdr (assoc 0 (entget (car (entsel)))))"), "\"LINE\"");
}

TEST_F(Lisp, TheObjectModelShim) {
    circle(addLayer("Walls"), 2);
    EXPECT_EQ(eval("(vl-load-com) (setq o (vlax-ename->vla-object (entlast))) "
                   "(list (vla-get-layer o) (vla-get-color o) (vla-get-radius o) (vla-get-center o) "
                   "(vlax-get-property o 'ObjectName) (vla-get-area o))"),
              R"(("Walls" 256 2.0 (0.0 0.0 0.0) "AcDbCircle" 12.5664))");
    EXPECT_EQ(eval("(vla-put-color o 3) (vlax-put-property o \"Radius\" 5) (vla-put-layer o \"0\") "
                   "(mapcar '(lambda (c) (cdr (assoc c (entget (entlast))))) '(62 40 8))"),
              R"((3 5.0 "0"))");
    EXPECT_EQ(eval("(vla-get-startpoint o)"),
              "; error: ActiveX Server returned the error: unknown name: StartPoint");
    EXPECT_EQ(eval("(vla-addline o)"), "; error: no function definition: VLA-ADDLINE");
    EXPECT_EQ(eval("(setq d (vla-get-activedocument (vlax-get-acad-object))) (vla-startundomark d) "
                   "(vla-endundomark d) "
                   "(equal (vlax-vla-object->ename o) (entlast))"),
              "T");
    EXPECT_EQ(eval("(vla-delete o) (vlax-erased-p o)"), "T");
}

TEST_F(Lisp, TheSandboxHasNoWayOutAndItsLimitsEndEveryRunaway) {
    for (const char* name : {"open", "load", "findfile", "startapp", "vl-file-delete", "getfiled", "dos_dir",
                             "vl-registry-write", "vlax-create-object", "command-s"}) {
        const std::string call = std::string("(") + name + " \"x\")";
        EXPECT_EQ(eval(call.c_str()),
                  "; error: no function definition: " + QString::fromLatin1(name).toUpper().toStdString());
    }
    host.lispSettings().limits.milliseconds = 300;
    host.lispSettings().limits.steps = 1'000'000'000;
    EXPECT_EQ(eval("(while T)"), "; error: time limit reached (300 ms)");
    EXPECT_EQ(eval("(vl-catch-all-apply '(lambda () (while T)) nil)"), "; error: time limit reached (300 ms)")
        << "a limit cannot be caught";
    // The other limits, each well before the clock's (a sanitizer's build runs slowly).
    host.lispSettings().limits.milliseconds = 60'000;
    host.lispSettings().limits.conses = 10'000;
    host.lispSettings().limits.stringBytes = 1 << 20;
    EXPECT_EQ(eval("(defun f () (f)) (f)"), "; error: recursion limit reached (2000 nested evaluations)");
    EXPECT_EQ(eval("(defun f (n) (if (> n 0) (+ 1 (f (1- n))) 0)) (f 400)"), "400")
        << "ordinary recursion runs";
    EXPECT_EQ(eval("(setq l nil) (while T (setq l (cons 1 l)))"),
              "; error: memory limit reached (too many list cells)");
    EXPECT_EQ(eval("(setq s \"x\") (while T (setq s (strcat s s)))"),
              "; error: memory limit reached (strings)");
    host.lispSettings().limits.steps = 10'000;
    EXPECT_EQ(eval("(repeat 100000 (setq a 1))"), "; error: evaluation limit reached (10000 steps)");

    // A limit takes back what the evaluation did; an ordinary error keeps what was done before it.
    const std::size_t before = entityCount();
    EXPECT_EQ(eval("(entmake '((0 . \"LINE\") (10 0 0 0) (11 1 0 0))) (while T)"),
              "; error: evaluation limit reached (10000 steps)");
    EXPECT_EQ(entityCount(), before);
    EXPECT_EQ(eval("(entmake '((0 . \"LINE\") (10 0 0 0) (11 1 0 0))) (car 1)"),
              "; error: bad argument type: consp 1");
    EXPECT_EQ(entityCount(), before + 1);
    EXPECT_EQ(eval("(+ 1 2)"), "3") << "and the interpreter answers afterwards";
}

TEST_F(Lisp, EachEvaluationIsOneUndoStepAndEachDrawingHasItsGlobals) {
    EXPECT_EQ(eval("(setq keep 42) (command \"LINE\" '(0 0) '(1 0) \"\") (entmake '((0 . \"CIRCLE\") (10 0 0 "
                   "0) (40 . 1.0))) 'done"),
              "DONE");
    EXPECT_EQ(entityCount(), 2u);
    EXPECT_EQ(db.undoManager().undo(1), 1);
    EXPECT_EQ(entityCount(), 0u) << "the command run inside is part of the evaluation's step";
    EXPECT_EQ(eval("keep"), "42");
    Document* other = host.documents().createNew();
    host.documents().setActiveDocument(other);
    EXPECT_EQ(eval("keep"), "nil");
    EXPECT_EQ(eval("(setq keep 'other)"), "OTHER");
    host.documents().setActiveDocument(doc);
    EXPECT_EQ(eval("keep"), "42");
}

}  // namespace
}  // namespace vela::host::lisp
