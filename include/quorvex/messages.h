#ifndef QUORVEX_MESSAGES_H
#define QUORVEX_MESSAGES_H

#include "quorvex/types.h"

/*
 * Registered messages: a small library of its own, libquorvex-messages.so. A message has a name and
 * carries two numbers. A post reaches every listener of that name in this process and in every
 * other process of the same user on this machine. No service and no display take part: each process
 * that listens has a socket in a folder of the user's own, $XDG_RUNTIME_DIR/quorvex, else
 * /run/user/UID/quorvex, else /tmp/quorvex-UID, where UID is the user's number. Processes that are
 * to hear each other must agree on that folder.
 *
 * Messages of one posting thread arrive in their order. A message can be lost, but never come in
 * twice or damaged: when a listener has 10,000 messages waiting the next ones are dropped, and a
 * process that is stopped, or starved, for longer than a millisecond while more than a few
 * messages are posted (the kernel queues net.unix.max_dgram_qlen of them) misses those.
 *
 * Every call may come from any thread. After a fork the child has the names but no listeners; it
 * may listen anew. Listeners that are left when the process ends are cleared away with it.
 */

ZVK_EXTERN_C_BEGIN

/** Results: 0 success, negative error, positive for a call that has worked in part. */
enum
{
    ZVK_MESSAGES_OK = 0,
    ZVK_MESSAGES_ONLY_THIS_PROCESS = 1, /**< there is no folder to meet other processes in */
    ZVK_MESSAGES_TIMED_OUT = 2,         /**< no message came within the time-out */
    ZVK_MESSAGES_BAD_ARGUMENT = -1,     /**< a null pointer where one is needed, or not a number */
    ZVK_MESSAGES_UNKNOWN_ID = -2,       /**< ZVK_Messages_Register has not given this id */
    ZVK_MESSAGES_UNKNOWN_LISTENER = -3, /**< no such listener, or it has ended */
    ZVK_MESSAGES_NO_ROOM = -4           /**< memory or threads ran out */
};

/**
 * Receives the messages of one listener, one after the other, on a thread of that listener's own.
 * It may call anything of this header, ZVK_Messages_Unlisten for its own listener too.
 *
 * @param id            the message's id
 * @param first         the poster's first number
 * @param second        the poster's second number
 * @param callbackData  as given to ZVK_Messages_Listen
 */
typedef void (*ZVK_MessageCallback)(uint32_t id, int64_t first, int64_t second, void *callbackData);

/**
 * Gives the id of a message's name: 0xC000 + h mod 0x4000, where h is the FNV-1a hash of 32 bits of
 * the name's bytes. It is the same in every process, however often it is asked for. Two names with
 * the same id are told apart by their whole hash when they come from different processes; inside
 * one process the second of them is refused.
 *
 * @param name  case-sensitive, not empty; copied
 * @return the id, 0xC000 to 0xFFFF; 0 for a null or empty name, for a name whose id belongs to
 * another name in this process, and when memory ran out
 */
ZVK_API uint32_t ZVK_Messages_Register(const char *name);

/**
 * Sends a message to every listener of its id, in this process and in all others of the user.
 * Returns without waiting for them to take it; listeners of other processes that have no room hold
 * it up for a millisecond or two at most.
 *
 * @param id      from ZVK_Messages_Register
 * @param first   any number
 * @param second  any number
 * @return 0, else the first that applies:
 *         ZVK_MESSAGES_UNKNOWN_ID         nothing was sent
 *         ZVK_MESSAGES_NO_ROOM            nothing was sent
 *         ZVK_MESSAGES_ONLY_THIS_PROCESS  sent to the listeners of this process alone
 *         Whether there was a listener, or it had room, isn't told.
 */
ZVK_API int32_t ZVK_Messages_Post(uint32_t id, int64_t first, int64_t second);

/**
 * Starts to listen for one message. Messages posted from now on reach the callback, or, without
 * one, are kept for ZVK_Messages_Wait.
 *
 * @param id            from ZVK_Messages_Register
 * @param callback      may be null: then ZVK_Messages_Wait fetches the messages
 * @param callbackData  handed to the callback; stays the caller's
 * @param listener      out: the listener's number, above 0; 0 on failure
 * @return 0, else the first that applies:
 *         ZVK_MESSAGES_BAD_ARGUMENT       listener is null
 *         ZVK_MESSAGES_UNKNOWN_ID         no listener was made
 *         ZVK_MESSAGES_NO_ROOM            no listener was made
 *         ZVK_MESSAGES_ONLY_THIS_PROCESS  done, but it hears posts of this process alone
 */
ZVK_API int32_t ZVK_Messages_Listen(uint32_t id, ZVK_MessageCallback callback, void *callbackData,
                                    int32_t *listener);

/**
 * Takes the oldest message that a listener without a callback keeps, or waits for the next one.
 * Several threads may wait for one listener; each message goes to one of them.
 *
 * @param listener  from ZVK_Messages_Listen with a null callback
 * @param timeoutS  seconds; 0 looks and doesn't wait, below 0 waits for ever
 * @param first     out: the poster's first number, may be null; unchanged unless the result is 0
 * @param second    out: the poster's second number, as first
 * @return 0, else the first that applies:
 *         ZVK_MESSAGES_BAD_ARGUMENT      timeoutS isn't a number
 *         ZVK_MESSAGES_UNKNOWN_LISTENER  no such listener; also when it ends during the wait
 *         ZVK_MESSAGES_BAD_ARGUMENT      the listener has a callback
 *         ZVK_MESSAGES_TIMED_OUT         nothing came
 */
ZVK_API int32_t ZVK_Messages_Wait(int32_t listener, double timeoutS, int64_t *first,
                                  int64_t *second);

/**
 * Ends a listener and drops the messages it keeps. When it returns its callback isn't running any
 * more, unless it was called from that callback, which then is not called again.
 *
 * @param listener  from ZVK_Messages_Listen
 * @return 0, or ZVK_MESSAGES_UNKNOWN_LISTENER
 */
ZVK_API int32_t ZVK_Messages_Unlisten(int32_t listener);

ZVK_EXTERN_C_END

#endif
