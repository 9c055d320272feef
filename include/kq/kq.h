// Everything that the library offers.
#pragma once

#include <kq/concurrency/job.h>
#include <kq/concurrency/job_queue.h>
#include <kq/concurrency/job_terms.h>
#include <kq/concurrency/job_ticket.h>
#include <kq/concurrency/thread_pool.h>
#include <kq/converter/hex.h>
#include <kq/converter/md5.h>
#include <kq/expected.h>
#include <kq/export.h>
#include <kq/library.h>
#include <kq/shared_ref.h>
#include <kq/singleton.h>
#include <kq/thread/priority.h>
#include <kq/thread/spin_mutex.h>
#include <kq/thread/thread_names.h>
#include <kq/version.h>
